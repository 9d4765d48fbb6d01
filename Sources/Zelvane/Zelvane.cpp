// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/Zelvane.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Text.h"

#include <algorithm>
#include <array>

namespace zelvane {

Zelvane::Zelvane(RunLoop& playerThread, AudioPlatform& platform, Application& application, UserDefaults& defaults)
    : _playerThread(playerThread),
      _application(application),
      _defaults(defaults),
      _scala(defaults, [&application](const Error& error) { presentErrorWaiting(application, error); }) {
    setIsListening(false);
    _audioEngine = std::make_unique<AudioEngine>(playerThread, platform, application, defaults);
    newOSCDecoder();
    _midiDecoder = std::make_shared<MIDIDecoder>(
        MIDIDecoder::Collaborators{*_audioEngine, _playerThread, _application, _defaults, *this});
    setUpMIDI();
    restoreMidiTuning();
    restoreMidiInput();
    setOutputDeviceFromName(_defaults.string("outputDevice"));
    restoreMusicDevice();
}

/// Without the chosen instrument the default one gets its editor.
void Zelvane::restoreMusicDevice() {
    const auto name = _defaults.string("musicDevice");
    const auto failed = _audioEngine->takeInstrumentOfDeadRun();
    if (!name || (isOffered(name) && failed != name)) return setMusicDeviceFromName(name);
    if (failed == name) leaveOutMusicDevice(*name);
    setMusicDeviceFromName(localizedString("DLSMusicDevice"));
}

/// One that has brought the last run down is left out this time, and tried again at the next start.
void Zelvane::leaveOutMusicDevice(const std::string& name) {
    _instrumentLeftOut = name;
    const Error error{
        "AudioConfiguration", 5,
        formatted(localizedString("Sorry, the player did not survive loading %@ the last time. It plays with %@ now."),
                  {name, localizedString("DLSMusicDevice")}),
        formatted(localizedString("Choose %@ again to give it another try."), {name})};
    _application.mainRunLoop().perform([&application = _application, error] { application.presentError(error); });
}

void Zelvane::scanMusicDevicesWithProgressTextField(const std::shared_ptr<ProgressTextField>& textField) {
    _audioEngine->scanMusicDevicesWithProgressTextField(textField, _playerThread);
}

void Zelvane::newOSCDecoder() {
    _formerPacketCounts = packetCounts();
    _oscDecoder = std::make_shared<OSCDecoder>(
        OSCDecoder::Collaborators{*_audioEngine, _scala, _playerThread, _application, _defaults, *this});
}

OSCConnection::Counts Zelvane::packetCounts() const {
    OSCConnection::Counts sum = _formerPacketCounts;
    if (_oscDecoder == nullptr) return sum;
    const auto present = _oscDecoder->connection().counts();
    sum.unreadable += present.unreadable;
    sum.lost += present.lost;
    return sum;
}

bool Zelvane::bindToAddress(const std::string& address) {
    Error error;
    const auto port = static_cast<std::uint16_t>(_defaults.integer("port"));
    const std::uint16_t boundPort = _oscDecoder->connection().localPort();
    // Who listens already and stays at the port loses no packet.
    if (boundPort != 0 && boundPort == port) return true;
    if (boundPort != 0) disconnect();
    if (_oscDecoder->connection().bindToAddress(address, port, error)) return true;
    _application.mainRunLoop().perform([&application = _application, error] { application.presentError(error); });
    return false;
}

std::uint16_t Zelvane::listeningPort() const {
    return isListening() ? _oscDecoder->connection().localPort() : std::uint16_t{0};
}

void Zelvane::setIsListening(bool isListening) {
    if (_audioEngine != nullptr) _audioEngine->setIsListening(isListening);
}

void Zelvane::startRunning() {
    _audioEngine->startRunning();
    _playerThread.perform([this] { _oscDecoder->connection().receivePacket(); }, RunLoop::Wait::yes);
    setIsListening(true);
}

void Zelvane::stopRunning() {
    _playerThread.perform([this] { allNotesOff(); });
    setIsListening(false);
    _audioEngine->stopRunning();
}

void Zelvane::disconnect() {
    _playerThread.perform([this] { _oscDecoder->connection().disconnect(); }, RunLoop::Wait::yes);
}

void Zelvane::allNotesOff() {
    for (std::uint8_t channel = 0; channel < 16; ++channel) {
        const std::array<std::uint8_t, 3> bytes{static_cast<std::uint8_t>(0xB0 | channel), 123, 0};
        _audioEngine->handleMIDIMessage(bytes.data(), 3);
    }
}

void Zelvane::checkStatus() {
    _application.didReceive();
    if (!isRecordingEnabled() || isRecording()) return;
    setIsRecording(true);
    setIsRecordingEnabled(false);
    _application.mainRunLoop().perform([&application = _application] { application.statusDidChange(); });
}

void Zelvane::enableRecording(const std::filesystem::path& url) {
    _outputFileUrl = url;
    _audioEngine->enableRecording(url);
    setIsRecordingEnabled(true);
    setIsRecording(false);
    _application.statusDidChange();
}

void Zelvane::stopRecording() {
    _audioEngine->stopRecording();
    setIsRecordingEnabled(false);
    setIsRecording(false);
    _application.statusDidChange();
}

void Zelvane::setOutputDeviceFromName(const std::optional<std::string>& name) {
    const auto devices = outputDevices();
    if (name && std::find(devices.begin(), devices.end(), *name) != devices.end())
        _audioEngine->setAudioDeviceFromName(*name);
}

bool Zelvane::isOffered(const std::optional<std::string>& instrument) const {
    const auto names = musicDevices();
    return instrument && std::find(names.begin(), names.end(), *instrument) != names.end();
}

void Zelvane::setMusicDeviceFromName(const std::optional<std::string>& name) {
    if (isOffered(name)) _audioEngine->setMusicDeviceFromName(*name);
}

bool Zelvane::openSoundfont(const std::optional<std::string>& path) {
    if (!path) return false;
    const auto registered = _defaults.registeredObject("soundfont");
    if (!path->empty() && !(registered && *registered == PropertyList{*path}))
        return _audioEngine->openSoundfont(*path);
    restoreAppleSounds();
    return true;
}

}  // namespace zelvane
