// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include "Platform/Foundation/Folders.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"

namespace zelvane {

namespace {

// A wish: a server with a period of its own keeps it.
constexpr std::uint32_t kBufferFrames = 512;

}  // namespace

AudioEngine::AudioEngine(RunLoop& playerThread, AudioPlatform& platform, Application& application,
                         UserDefaults& defaults)
    : _playerThread(playerThread),
      _platform(platform),
      _application(application),
      _defaults(defaults),
      _instrumentTrial(userSupportFolder() / "loading") {
    for (auto& unit : _microUnits) unit = std::make_unique<MicroUnit>();
    initAudioDevices();
    initMusicDevices();
}

AudioEngine::~AudioEngine() {
    _platform.components.cancelRequests();
    cleanAllMicroUnits(false);
    prepareToDealloc();
    AUListenerDispose(_ref);
}

void AudioEngine::prepareToDealloc() {
    removeAllAUParameterListeners(false);
    removeAllAUPropertyListeners(false);
    removeDefaultOutputPropertyListener();
    finishRecording();
    if (_mixerNode != nullptr) _mixerNode->removeTapOnBus(0);
}

void AudioEngine::setUpOutputNode() {
    if (_outputNode == nullptr) _outputNode = _avEngine->outputNode();
    if (_outputNode == nullptr) {
        Log::write("AudioEngine: [%@] unable to init output node, exiting", {"setUpOutputNode"});
        return presentErrorAndExit(
            {"AudioConfiguration", 4, localizedString("Sorry, unable to init output node. Exiting.")});
    }
    _outputFormat = _outputNode->outputFormatForBus(0);
    Log::write("AudioEngine: [%@] output node %@ set up successfully", {"setUpOutputNode", _outputNode->description()});
}

void AudioEngine::setUpMixerNode() {
    if (_mixerNode == nullptr) _mixerNode = _avEngine->mainMixerNode();
    if (_mixerNode == nullptr) {
        Log::write("AudioEngine: [%@] unable to init mixer node, exiting", {"setUpMixerNode"});
        return presentErrorAndExit(
            {"AudioConfiguration", 4, localizedString("Sorry, unable to init mixer node. Exiting.")});
    }
    Log::write("AudioEngine: [%@] mixer node %@ set up successfully", {"setUpMixerNode", _mixerNode->description()});
}

void AudioEngine::setUpAudioAndStartRunning() {
    setUpOutputNode();
    setUpMixerNode();
    cleanAllMicroUnits(false);
    setUpAllMicroUnits(false, false);
    waitForAllMicroUnits();
    if (!allMicroUnitsAreSetUp()) return;
    for (const auto& unit : _microUnits) _avEngine->connect(unit->synthNode(), *_mixerNode, _outputFormat);
    setUpStreamFormats();
    AudioUnitSetProperty(_outputNode->audioUnit(), kAudioDevicePropertyBufferFrameSize, kAudioUnitScope_Global, 0,
                         &kBufferFrames, sizeof kBufferFrames);
    setUpTapForMixerNode();
    _avEngine->prepare();
    startRunning();
}

void AudioEngine::startRunning() {
    Error error;
    _avIsRunning = _avEngine->startAndReturnError(error);
    if (!_avIsRunning) presentErrorAndExit(error);
}

void AudioEngine::stopRunning() {
    if (_avEngine == nullptr) return;
    _avIsRunning = _avEngine->isRunning();
    if (_avIsRunning) _avEngine->pause();
}

// The failing thread carries on until the application ends.
void AudioEngine::presentErrorAndExit(const Error& error) {
    _application.mainRunLoop().perform(
        [&application = _application, error] { application.presentErrorAndTerminate(error); });
}

}  // namespace zelvane
