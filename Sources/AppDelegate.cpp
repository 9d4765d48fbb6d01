// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AppDelegate.h"

#include "PYMIDI/PYMIDIManager.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Thread.h"

namespace zelvane {

AppDelegate::AppDelegate(RunLoop& mainRunLoop, AudioPlatform& platform, UserDefaults& defaults, Shell& shell)
    : _mainRunLoop(mainRunLoop), _platform(platform), _defaults(defaults), _shell(shell) {
    _shell.setDelegate(*this);
}

AppDelegate::~AppDelegate() {
    applicationWillTerminate();
}

PropertyList::Dictionary AppDelegate::registeredDefaults() {
    const std::string instrument = localizedString("DLSMusicDevice");
    const auto number = [](std::int64_t value) { return PropertyList{value}; };
    return {{"port", number(3000)},
            {"outPort", number(3010)},
            {"autolaunch", number(0)},
            {"musicDevice", {instrument}},
            {"midiID", number(1330856742)},
            {"tuning", {localizedString("default tuning")}},
            {"keymap", {localizedString("default keyboard mapping")}},
            {"recordingFileName", {localizedString("Zelvane Recording.m4a")}},
            {"devicesMap", {PropertyList::Array{{instrument}}}}};
}

void AppDelegate::applicationDidFinishLaunching(bool listensAtOnce) {
    _playerThread = startThread("zelvane-player", ThreadRole::player, [this] { installRunLoopInPlayerThread(); });
    PluginWindow& pluginWindow = _shell.pluginWindow();
    _defaults.registerDefaults(registeredDefaults());
    _platform.components.setChangeHandler([this] { _mainRunLoop.perform([this] { musicDevicesDidChange(); }); });
    _zelvane = std::make_unique<Zelvane>(_playerRunLoop, _platform, *this, _defaults);
    _zelvane->setAuviewDelegate(pluginWindow);
    if (_musicDevicesHaveChanged) _mainRunLoop.perform([this] { musicDevicesDidChange(); });
    const bool listens = listensAtOnce || _defaults.integer("autolaunch") == 1;
    if (!listens || !_zelvane->hasConnection()) return;
    // Behind what the set-up has to tell, which may end the program.
    _mainRunLoop.perform([this, listensAtOnce] {
        startStopListening();
        if (listensAtOnce && !_bindToAddressSucceeded) _mainRunLoop.perform([this] { terminate(1); });
    });
}

// The chosen instrument may not have been known yet when the player started.
void AppDelegate::musicDevicesDidChange() {
    // While the player is being made the loop runs, too.
    _musicDevicesHaveChanged = _zelvane == nullptr;
    if (_musicDevicesHaveChanged) return;
    const auto chosen = _defaults.string("musicDevice");
    const bool wasOffered = _zelvane->isOffered(chosen);
    _zelvane->audioEngine().updateMusicDevices();
    if (!wasOffered && _zelvane->isOffered(chosen) && chosen != _zelvane->instrumentLeftOut())
        _zelvane->setMusicDeviceFromName(chosen);
}

void AppDelegate::installRunLoopInPlayerThread() {
    _playerRunLoop.attachToCurrentThread();
    _playerThreadMayEnd = false;
    _playerThreadDummyTimer = Timer::every(std::chrono::hours(1), [this](Timer&) { playerThreadDummyTimerDo(); });
    _playerRunLoop.add(_playerThreadDummyTimer);
    do {
        _playerRunLoop.runOnce();
    } while (!_playerThreadMayEnd && !_playerRunLoop.hasEnded());
}

void AppDelegate::removePlayerThread() {
    _playerThreadDummyTimer->invalidate();
    _playerThreadMayEnd = true;
}

void AppDelegate::applicationWillTerminate() {
    if (!_playerThread.joinable()) return;
    _platform.components.setChangeHandler({});
    if (_countsTimer != nullptr) _countsTimer->invalidate();
    if (_zelvane != nullptr && _zelvane->isRecording()) _zelvane->stopRecording();
    if (_zelvane != nullptr && _zelvane->isListening()) startStopListening();
    _playerRunLoop.perform([this] { removePlayerThread(); }, RunLoop::Wait::yes);
    _playerThread.join();
    _playerRunLoop.end();
    // Editors before what they edit.
    clearAUViews();
    _shell.pluginWindow().setDelegate(nullptr);
    _zelvane.reset();
    PYMIDIManager::releaseSharedInstance();
}

void AppDelegate::bindToAddress() {
    _bindToAddressSucceeded = _zelvane->bindToAddress("127.0.0.1");
}

void AppDelegate::startStopListening() {
    if (_zelvane->isListening()) {
        // Also a recording that is only armed takes the branch that ends it.
        _zelvane->setIsRecordingEnabled(true);
        startStopRecording();
        if (_bindToAddressSucceeded) _zelvane->disconnect();
        _zelvane->stopRunning();
    } else {
        bindToAddress();
        if (!_bindToAddressSucceeded) {
            // Stopping what has not begun brings everything back to the start.
            _zelvane->setIsListening(true);
            startStopListening();
            return _zelvane->newOSCDecoder();
        }
        _zelvane->startRunning();
    }
    statusDidChange();
}

void AppDelegate::startStopRecording() {
    if (_zelvane->isRecordingEnabled() || _zelvane->isRecording()) {
        _zelvane->stopRecording();
        return _shell.startRecordingMenuItem().setTitle(localizedString("Start Recording…"));
    }
    if (const auto url = urlFromUser({"m4a"})) enableRecording(*url);
}

void AppDelegate::enableRecording(const std::filesystem::path& url) {
    _zelvane->enableRecording(url);
    _shell.startRecordingMenuItem().setTitle(localizedString("Stop Recording"));
}

std::optional<std::filesystem::path> AppDelegate::urlFromUser(const std::vector<std::string>& allowedTypes) {
    return _shell.runSavePanel(localizedString("Save Recording"), localizedString("Save recording as"),
                               _defaults.string("recordingFileName").value_or(std::string()), allowedTypes);
}

void AppDelegate::allNotesOff() {
    _playerRunLoop.perform([this] { _zelvane->allNotesOff(); });
}

void AppDelegate::sendMicroTunings() {
    _zelvane->sendMicroTunings();
}

void AppDelegate::preferencesDialog() {
    if (_preferencesDialogIsOpen) return;
    _preferencesDialogIsOpen = true;
    _shell.statusItem().setEnabled(false);
    const bool isAccepted = _shell.runPreferencesDialog(*_zelvane) == 1;
    if (isAccepted && _zelvane->isListening()) {
        _zelvane->setIsListening(false);
        startStopListening();
    }
    _shell.statusItem().setEnabled(true);
    _preferencesDialogIsOpen = false;
}

void AppDelegate::statusDidChange() {
    showImage();
    showStatus();
}

void AppDelegate::showImage() {
    if (_zelvaneIsRecordingEnabledTimer != nullptr) _zelvaneIsRecordingEnabledTimer->invalidate();
    _zelvaneIsRecordingEnabledTimer.reset();
    StatusItem& item = _shell.statusItem();
    if (_zelvane->isRecording()) return item.setImage(StatusImage::statusIsRecording);
    if (_zelvane->isRecordingEnabled()) {
        _zelvaneIsRecordingEnabledTimer =
            Timer::every(std::chrono::milliseconds(500), [this](Timer&) { blinkStatusIsRecording(); });
        return _mainRunLoop.add(_zelvaneIsRecordingEnabledTimer);
    }
    const bool isListening = _zelvane->isListening();
    item.setImage(isListening ? StatusImage::statusIsRunning : StatusImage::statusIsWaiting);
    _shell.startMenuItem().setTitle(localizedString(isListening ? "Stop Listening" : "Start Listening"));
}

void AppDelegate::blinkStatusIsRecording() {
    StatusItem& item = _shell.statusItem();
    const bool isRed = item.image() == StatusImage::statusIsRecording;
    item.setImage(isRed ? StatusImage::statusIsRunning : StatusImage::statusIsRecording);
}

void AppDelegate::presentErrorAndTerminate(const Error& error) {
    _shell.presentAlert(error, true);
    terminate(1);
}

void AppDelegate::terminate(int status) {
    _exitStatus = status;
    _mainRunLoop.end();
}

}  // namespace zelvane
