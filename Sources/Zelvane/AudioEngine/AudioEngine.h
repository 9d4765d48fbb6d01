// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/File/ExtAudioFile.h"
#include "Platform/Audio/Graph/AVAudioEngine.h"
#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/Timer.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/Application.h"
#include "Sources/PluginWindow.h"
#include "Sources/ProgressTextField.h"
#include "Sources/Zelvane/AudioEngine/EnabledPropertyIDs.h"
#include "Sources/Zelvane/AudioEngine/EnabledPropertyIDsFile.h"
#include "Sources/Zelvane/AudioEngine/InstantiateParameters/InstantiateParameters.h"
#include "Sources/Zelvane/AudioEngine/InstrumentTrial.h"
#include "Sources/Zelvane/AudioEngine/MicroUnit/MicroUnit.h"
#include "Sources/Zelvane/AudioEngine/RecorderTap.h"
#include "Sources/Zelvane/AudioEngine/RecordingReports.h"
#include "Sources/Zelvane/AudioEngine/StreamFormats.h"
#include "Sources/Zelvane/PlayerCounters.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The player's sound: the graph of ten micro units, the tables of devices and instruments, and the way of a note to
/// the unit that is detuned for it. Made and driven on the main thread unless an operation says otherwise.
class AudioEngine : public PluginWindowDelegate {
  public:
    static constexpr std::size_t kMicroUnitCount = 10;

    /// Ends with the default instrument playing, or with the fatal-error path started.
    AudioEngine(RunLoop& playerThread, AudioPlatform& platform, Application& application, UserDefaults& defaults);
    ~AudioEngine() override;
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;

    // Devices and instruments.
    /// Names in the user's order.
    std::vector<std::string> audioDevices() const;
    /// Switches the output; a name that is not in the table means the default device.
    void setAudioDeviceFromName(const std::string& name);
    std::vector<AVAudioUnitComponent> findAllMusicDevices();
    std::vector<std::string> musicDevices() const;
    /// Unknown for a name that is not in the table.
    Microtones microtonesOfMusicDevice(const std::string& name) const;
    /// What plays now, as it stands in the tables; empty when it doesn't.
    std::string currentAudioDevice() const;
    std::string currentMusicDevice();
    /// The same for whoever must not get in the way of notes, which look up units all the time.
    std::string loadedMusicDevice() const;
    /// Switches the instrument and returns when it is set up; what sounds ends. With a name that is not in the table,
    /// or of one that is not there any more, it tells the user, and the present one stays.
    void setMusicDeviceFromName(const std::string& name);
    /// Brings the table up to date when instruments have come or gone.
    void updateMusicDevices();
    /// The instrument with which an earlier run came to its end while it was new, if any; asked once, at the start.
    std::optional<std::string> takeInstrumentOfDeadRun() { return _instrumentTrial.takeInstrumentOfDeadRun(); }

    /// Tests every instrument in a process of its own, keeps those that can be played, and returns after the last. What
    /// it does is shown in the text field, which may be null, on the thread given. One that can't be played ends the
    /// application.
    void scanMusicDevicesWithProgressTextField(const std::shared_ptr<ProgressTextField>& textField, RunLoop& onThread);
    /// Those found usable by the scans of this run.
    const std::vector<std::string>& whitelistedMusicDeviceNames() const { return _whitelistedMusicDeviceNames; }

    // The graph.
    void startRunning();  ///< Also on the player thread.
    void stopRunning();   ///< Silence until the next start.
    /// Loads a sound bank into the units; the result's odd sense is what callers go by: false with silence when a unit
    /// took the bank, true with sound when all ten refused it, false when the path is none.
    bool openSoundfont(const std::string& path);
    void restoreAppleSounds();

    // Notes: player thread, no allocation.
    /// Pitches are rounded to ten midics; the unit's detuning supplies what is beyond the semitone.
    void handleNoteOnMessage(std::uint32_t midic, int velocity, int channel);
    void handleNoteOffMessage(std::uint32_t midic, int channel);
    /// Sends three bytes, whatever the size, to the units 10 to 2.
    void handleMIDIMessage(const std::uint8_t* bytes, int size);

    /// The output's volume as a factor. Any thread.
    float volume();
    void setVolume(float volume);

    // Micro units. Look-ups may be made on any control thread.
    void setupMicroUnitsWithDescription(const AudioComponentDescription& description);
    /// Detunes the units by pitch bend on all channels.
    void sendMicroTunings();
    /// Throws RangeError outside 1 to 10.
    MicroUnit& microUnitFromNumber(std::int32_t number);
    std::shared_ptr<AVAudioUnit> microUnitSynthNode(std::int32_t number);
    /// Only good as long as the unit stays in its slot: main thread.
    AudioUnit* audioUnitFromMicroUnit(std::int32_t number);
    /// The number of the first slot that holds that very node, or 0; no node is found in the first empty slot.
    std::int32_t microUnitNumberFromSynthNode(const AVAudioUnit* node) const;
    void removeMicroUnit(std::int32_t number);
    static void turnOffReverb(AVAudioUnit& synthNode);
    /// Always leaves the units marked as set up; kept for its callers.
    void checkAlllMicroUnitsAreSetUp();

    // Edits of one unit, the source, are copied to the nine others. Main thread.
    static constexpr struct PropertyIDRange { AudioUnitPropertyID first, last; } kProbedPropertyIDs{4, 4294967294};

    /// Makes a unit that has an editor the source.
    void propagateFromMicroUnitNumber(std::int32_t number);
    /// Modus 0 removes the listeners, 1 installs them, any other copies the present values at once.
    void setAudioUnitParameterListeners(MicroUnit& source, std::int32_t modus, bool log);
    void setAudioUnitPropertyListeners(MicroUnit& source, std::int32_t modus, bool log);
    void removeAllAUParameterListeners(bool log);
    void removeAllAUPropertyListeners(bool log);
    void checkToEnableAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, bool log);
    void removeAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, bool log);
    void sendAUPropertiesToPropertyListeners(AVAudioUnit& node, bool log);
    void sendToAudioUnitAUPropertyListener(AudioUnitPropertyID id, AVAudioUnit& node, const std::string& name,
                                           bool log);
    bool isInEnabledInAUPropertyList(AudioUnitPropertyID id) const;
    /// Finds the writable properties of an instrument by asking for every ID, and keeps the list on disk. The window
    /// that shows how far it has come lives. False, with no list kept, when the units are replaced meanwhile or the
    /// application ends.
    bool probeAUProperties(const std::shared_ptr<AVAudioUnit>& node, bool log,
                           PropertyIDRange range = kProbedPropertyIDs);
    static std::string audioUnitPropertyNameFromID(AudioUnitPropertyID id);
    static std::filesystem::path pathToEnabledPropertyIDsFile(const AVAudioUnit& node, SearchPathDomain domain,
                                                              bool create);
    void showScanProgress(const std::string& instrument);
    void incrementScanProgress(AudioUnitPropertyID id);
    void hideScanProgress();
    /// What an instrument's units are set to, from run to run. Also on the player thread.
    void storeCurrentPresetToDefaults(std::int32_t number);
    void presetFromDefaults(std::int32_t number);
    /// The window of the editors is about to close: true, and the presets are stored.
    bool windowShouldClose() override;

    // The units' editors. Main thread, but for what says otherwise.
    /// Null when the unit has none.
    std::shared_ptr<View> microUnitAUView(std::int32_t number);
    std::shared_ptr<audioEngineViewController> microUnitAUViewController(std::int32_t number);
    /// From then on the unit has that editor. Also on the player thread.
    void setMicroUnitAUViewController(const std::shared_ptr<audioEngineViewController>& viewController,
                                      std::int32_t number);
    static void setNeedsDisplay(View& view) { view.setNeedsDisplay(); }
    /// Fills the window of the editors anew when the node, the first unit's, is not null. Any thread; it returns when
    /// the main thread has done it.
    void microUnitAuViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode);

    // Flags, any thread.
    bool allMicroUnitsAreSetUp() const { return _allMicroUnitsAreSetUp.load(std::memory_order_acquire); }
    bool isListening() const { return _isListening.load(std::memory_order_acquire); }
    void setIsListening(bool isListening) { _isListening.store(isListening, std::memory_order_release); }
    bool isRecordingEnabled() const { return _isRecordingEnabled.load(std::memory_order_acquire); }
    void setIsRecordingEnabled(bool isEnabled) { _isRecordingEnabled.store(isEnabled, std::memory_order_release); }
    bool isRecording() const { return _isRecording.load(std::memory_order_acquire); }
    void setIsRecording(bool isRecording) { _isRecording.store(isRecording, std::memory_order_release); }

    // Recording.
    /// Opens a file that is written once recording is on; does nothing while it is.
    void enableRecording(const std::filesystem::path& url);
    /// False, with the log and the user told why, when there can't be such a file.
    bool setupAudioFile(const std::filesystem::path& url);
    /// Nothing more is recorded; the file is closed when the buffer in flight is written. On a thread with a run loop.
    void stopRecording();
    /// Closes the file; it is finished in the background, and the application told of it.
    void outputFileDispose();
    const std::filesystem::path& audioFileUrl() const { return _audioFileUrl; }
    /// Seconds by which incoming messages are delayed, a tap buffer in whole milliseconds. Any thread.
    float recorderLatency() const;
    AudioStreamBasicDescription outputFileStreamDescription() const { return _streamFormats.outputFile(); }
    void setUpOutputFileStreamFormatFromAudioDeviceID(AudioObjectID device);

    AVAudioEngine& avEngine() { return *_avEngine; }

    // What happened since the start. Any thread, never waited for by the player or the audio thread.
    PlayerCounters& counters() { return _counters; }
    std::uint64_t lostRecordingFrames() const { return _recorderTap.lostFrames(); }

  private:
    using SharedParameters = std::shared_ptr<InstantiateParameters>;
    struct Scan;

    /// A parameter of the source with what its listeners are told apart by.
    struct ListenedParameter {
        const AVAudioUnit& node;
        AudioUnitParameter parameter;
        float value;
        std::string name;
    };

    void initAudioDevices();
    void addAudioDevice(AudioObjectID device);
    void initMusicDevices();
    void setUpOutputNode();
    void setUpMixerNode();
    void setUpAudioAndStartRunning();
    void setUpTapForMixerNode();
    ExtAudioFileOptions fileOptions();
    static void tellOfFinished(RecordingReports& reports, Application& application);
    bool failToSetUp(std::string_view pattern, OSStatus status);
    static void logError(OSStatus status, const std::filesystem::path& url, const std::string& formatString);
    void tellWriteFailures();
    void reportWriteFailures();
    void finishRecording();
    void presentErrorAndExit(const Error& error);

    void setUpAllMicroUnits(bool restore, bool log);
    void cleanAllMicroUnits(bool flag);
    void waitForAllMicroUnits();
    void instantiateMicroUnit(const SharedParameters& parameters);
    void logInstantiateMicroUnit(const std::string& name, const Error& error);
    void checkForCustomView(const SharedParameters& parameters);
    void triggerCompleteMicroUnitInstall(const SharedParameters& parameters);
    void completeMicroUnitInstall(const SharedParameters& parameters);
    void setMicroUnit(const std::shared_ptr<AVAudioUnit>& synthNode, const InstantiateParameters& parameters);
    void checkWhetherAllMicroUnitsAreSetup();

    void announceNewUnits();
    void rebuildAUViews();
    void emptyMicroUnit(MicroUnit& unit);
    bool isOfPresentSetUp(const InstantiateParameters& parameters) const;
    bool isOffered(const AudioComponentDescription& description);
    void tellOfMissingInstrument(const std::string& name);
    std::vector<std::uint64_t> blocksRendered() const;

    void finishScanOf(const std::shared_ptr<Scan>& scan, std::size_t index, const std::string& instanceName,
                      bool isUsable);
    void whitelist(const AVAudioUnitComponent& component, const std::string& instanceName);
    void endForUnusable(const AVAudioUnitComponent& component);

    OSStatus play(std::int32_t unit, std::uint32_t status, std::uint32_t data1, std::uint32_t data2);

    void endPropertySources();
    void removeParameterListeners(const ListenedParameter& listened, bool log);
    void addParameterListeners(const ListenedParameter& listened, bool log);
    void copyParameter(const ListenedParameter& listened, bool log);
    static void logParameter(const char* pattern, const ListenedParameter& listened);
    void addPropertyListeners(const std::shared_ptr<AVAudioUnit>& node, bool log);
    void removePropertyListeners(AVAudioUnit& node, bool log);
    bool findEnabledPropertyIDs(const std::shared_ptr<AVAudioUnit>& node, bool log, std::string& path);
    void postToWindow(RunLoop::Work work);
    static void formatAUPropertyInstallLog(AudioUnitPropertyID id, const AVAudioUnit& node);
    static void formatAUPropertyRemoveLog(AudioUnitPropertyID id, const AVAudioUnit& node);

    void setUpStreamFormats();
    void followPhysicalFormat();
    void removeDefaultOutputPropertyListener();
    void prepareToDealloc();

    RunLoop& _playerThread;
    AudioPlatform& _platform;
    Application& _application;
    UserDefaults& _defaults;

    std::array<std::unique_ptr<MicroUnit>, kMicroUnitCount> _microUnits;
    AudioComponentDescription _synthDescription;
    std::map<std::string, AudioObjectID> _outputDevicesMap;
    std::map<std::string, AVAudioUnitComponent> _musicDevicesMap;
    std::vector<std::string> _whitelistedMusicDeviceNames;
    InstrumentTrial _instrumentTrial;
    EnabledPropertyIDs _enabledAUPropertyIDs;
    AUParameterListenerRef _ref;
    std::shared_ptr<Timer> _viewAnnouncement;
    std::unique_ptr<AVAudioEngine> _avEngine;
    AVAudioMixerNode* _mixerNode = nullptr;
    AVAudioOutputNode* _outputNode = nullptr;
    AVAudioFormat _outputFormat;

    StreamFormats _streamFormats;
    AudioObjectID _outputDeviceID = 0;
    AudioObjectPropertyAddress _theAddress;

    std::atomic<bool> _avIsRunning{false};            // main and player thread
    std::atomic<bool> _allMicroUnitsAreSetUp{false};  // written by main and player thread, read by both
    std::mutex _installing;                           // main and player thread: a unit is installed whole or not at all
    std::atomic<std::uint64_t> _setUpNumber{0};       // written by the main thread, read by loader and player thread
    std::atomic<bool> _isListening{false};            // written by the main thread, read by the player thread
    std::atomic<bool> _isRecordingEnabled{false};     // main and player thread
    std::atomic<bool> _isRecording{false};            // written by the main thread, read by the audio thread too
    PlayerCounters _counters;

    // Main thread, but for what the tap has of its own.
    RecorderTap _recorderTap;
    std::filesystem::path _audioFileUrl;
    std::shared_ptr<RecordingReports> _recordingReports = std::make_shared<RecordingReports>();
    ExtAudioFileRef _outputFile;
    ExtAudioFileRef _finishingFile;
    std::shared_ptr<Timer> _closing, _failureTeller, _tapWatch;
};

}  // namespace zelvane
