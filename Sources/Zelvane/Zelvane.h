// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "PYMIDI/PYMIDIEndpoint.h"
#include "PYMIDI/PYMIDIVirtualDestination.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/Application.h"
#include "Sources/PluginWindow.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/MIDIDecoder/MIDIDecoder.h"
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"
#include "Sources/Zelvane/OSCDecoder/OSCDecoder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The player controller: it owns the engine, the OSC and the MIDI side and the tuning, restores the user's choices at
/// the start, and is what the application talks to. Main thread, unless an operation says otherwise.
class Zelvane : public StatusChecker {
  public:
    Zelvane(RunLoop& playerThread, AudioPlatform& platform, Application& application, UserDefaults& defaults);
    ~Zelvane() override;
    RunLoop& thread() { return _playerThread; }

    /// Puts a fresh, unbound decoder in the place of the one there is.
    void newOSCDecoder();
    bool hasConnection() const { return _oscDecoder != nullptr; }
    /// Binds the receiving connection to the user's port; a failure is shown to the user.
    bool bindToAddress(const std::string& address);
    /// The port on which it receives; 0 while it does not.
    std::uint16_t listeningPort() const;
    void disconnect();
    /// What became of OSC packets since the start.
    OSCConnection::Counts packetCounts() const;

    void startRunning();
    void stopRunning();
    void checkStatus() override;

    /// Player thread.
    void allNotesOff();

    bool isListening() const { return _audioEngine->isListening(); }
    void setIsListening(bool isListening);
    bool isRecording() const { return _audioEngine->isRecording(); }
    void setIsRecording(bool isRecording) { _audioEngine->setIsRecording(isRecording); }
    bool isRecordingEnabled() const { return _audioEngine->isRecordingEnabled(); }
    void setIsRecordingEnabled(bool isEnabled) { _audioEngine->setIsRecordingEnabled(isEnabled); }

    /// Arms a recording: it begins with the first message that comes in.
    void enableRecording(const std::filesystem::path& url);
    void stopRecording();

    std::vector<std::string> musicDevices() const { return _audioEngine->musicDevices(); }
    /// Whether there is an instrument of that name.
    bool isOffered(const std::optional<std::string>& instrument) const;
    std::vector<std::string> outputDevices() const { return _audioEngine->audioDevices(); }
    /// A name that is not in the table changes nothing.
    void setOutputDeviceFromName(const std::optional<std::string>& name);
    void setMusicDeviceFromName(const std::optional<std::string>& name);
    /// The user's instrument, when it was left out at the start because it brought the last run down.
    const std::optional<std::string>& instrumentLeftOut() const { return _instrumentLeftOut; }
    /// Tests all instruments and returns after the last; the text field, which may be null, is the player thread's.
    void scanMusicDevicesWithProgressTextField(const std::shared_ptr<ProgressTextField>& textField);

    // MIDI. Without it the operations below do nothing.
    bool midiEnable() const { return _midiEnable; }
    /// Null while there is none.
    const std::shared_ptr<PYMIDIEndpoint>& midiInput() const { return _midiInput; }
    const std::shared_ptr<PYMIDIVirtualDestination>& virtualMidiInput() const { return _virtualMidiInput; }
    void setMidiInput(std::shared_ptr<PYMIDIEndpoint> endpoint);
    /// By display name. When there is no such input the user is told, and the current one stays.
    void setMidiInputByName(const std::string& name);
    static PropertyList::Data encodeMidiEndpoint(const std::shared_ptr<PYMIDIEndpoint>& endpoint);
    /// Null when the data hold no endpoint.
    static std::shared_ptr<PYMIDIEndpoint> decodeMidiEndpoint(const PropertyList::Data& data);

    // The tuning of MIDI keys. Any thread; each returns once the player thread has done it.
    bool openKeymap(const std::optional<std::string>& path);
    bool openTuning(const std::optional<std::string>& path);
    bool keymapIsChanged();
    void setKeymapIsChanged(bool isChanged);
    bool tuningIsChanged();
    /// Sets the keymap's flag, as it always has: the table is rebuilt all the same.
    void setTuningIsChanged(bool isChanged);
    void restoreKeymap();
    void restoreTuningMap();
    void updateMicromidiMap();
    /// A copy of the tuning as it is now: also what was opened since the table was built.
    std::unique_ptr<ScalaController> midiTuning();

    /// The empty path and the registered default mean the built-in sounds.
    bool openSoundfont(const std::optional<std::string>& path);
    void restoreAppleSounds() { _audioEngine->restoreAppleSounds(); }

    void sendMicroTunings() { _audioEngine->sendMicroTunings(); }
    void propagateFromMicroUnitNumber(std::int32_t number) { _audioEngine->propagateFromMicroUnitNumber(number); }
    std::int32_t microUnitNumberFromSynthNode(const AVAudioUnit* node) const {
        return _audioEngine->microUnitNumberFromSynthNode(node);
    }
    /// A unit's editor, or null. It is made by this.
    std::shared_ptr<View> auView(std::int32_t number) { return _audioEngine->microUnitAUView(number); }
    /// Makes the engine the window's delegate.
    void setAuviewDelegate(PluginWindow& window) { window.setDelegate(_audioEngine.get()); }
    AudioEngine& audioEngine() { return *_audioEngine; }
    bool soundfontIsChanged() const { return _soundfontIsChanged; }
    void setSoundfontIsChanged(bool isChanged) { _soundfontIsChanged = isChanged; }
    float volume() { return _audioEngine->volume(); }
    void setVolume(float volume) { _audioEngine->setVolume(volume); }

  private:
    template <typename Work>
    auto withMidiTuning(Work work);
    void setUpMIDI();
    void restoreMusicDevice();
    void leaveOutMusicDevice(const std::string& name);
    void restoreMidiTuning();
    void restoreMidiInput();

    RunLoop& _playerThread;
    Application& _application;
    UserDefaults& _defaults;
    ScalaController _scala;
    std::unique_ptr<AudioEngine> _audioEngine;
    std::shared_ptr<OSCDecoder> _oscDecoder;
    std::shared_ptr<MIDIDecoder> _midiDecoder;
    OSCConnection::Counts _formerPacketCounts;  // of decoders that were replaced
    std::filesystem::path _outputFileUrl;
    std::optional<std::string> _instrumentLeftOut;
    bool _soundfontIsChanged = false;
    bool _midiEnable = false;
    // Behind the decoder: they end first, so that nothing comes in when it goes.
    std::shared_ptr<PYMIDIVirtualDestination> _virtualMidiInput;
    std::shared_ptr<PYMIDIEndpoint> _midiInput;
};

}  // namespace zelvane
