// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

namespace {

constexpr std::uint32_t kLoadInProcess = 2;
constexpr auto kUnitCount = static_cast<std::int32_t>(AudioEngine::kMicroUnitCount);

bool hasCustomView(AVAudioUnit& synthNode) {
    const auto configuration = synthNode.copyConfigurationInfo();
    if (!configuration) return false;
    const auto entry = configuration->find("HasCustomView");
    return entry != configuration->end() && std::holds_alternative<bool>(entry->second.value) &&
           std::get<bool>(entry->second.value);
}

}  // namespace

void AudioEngine::setUpAllMicroUnits(bool restore, bool log) {
    if (allMicroUnitsAreSetUp()) return;
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        auto parameters = std::make_shared<InstantiateParameters>();
        parameters->log = log;
        parameters->restore = restore;
        parameters->microUnitNumber = number;
        parameters->setUpNumber = _setUpNumber;
        instantiateMicroUnit(parameters);
    }
    waitForAllMicroUnits();
    if (allMicroUnitsAreSetUp()) sendMicroTunings();
}

// What has to be shown meanwhile is shown; when the application ends instead, nobody needs the units any more.
void AudioEngine::waitForAllMicroUnits() {
    RunLoop& mainRunLoop = _application.mainRunLoop();
    while (!allMicroUnitsAreSetUp() && !mainRunLoop.hasEnded()) mainRunLoop.runOnce();
}

void AudioEngine::instantiateMicroUnit(const SharedParameters& parameters) {
    _platform.components.instantiateWithComponentDescription(
        _synthDescription, kLoadInProcess,
        [this, parameters](std::shared_ptr<AVAudioUnit> instance, const std::optional<Error>& error) {
            if (!isOfPresentSetUp(*parameters)) return;
            if (error) {
                std::string name = instance != nullptr ? instance->name() : std::string();
                if (name.empty() || name == "(null)")
                    name = formatted("MicroNode %d", {std::to_string(parameters->microUnitNumber)});
                return logInstantiateMicroUnit(name, *error);
            }
            parameters->synthNode = std::move(instance);
            parameters->didInstantiate = true;
            _playerThread.perform([this, parameters] { checkForCustomView(parameters); });
        });
}

// The main thread serves the user while it waits for the units, and he may choose another instrument again.
bool AudioEngine::isOfPresentSetUp(const InstantiateParameters& parameters) const {
    return parameters.setUpNumber == _setUpNumber;
}

void AudioEngine::logInstantiateMicroUnit(const std::string& name, const Error& error) {
    _instrumentTrial.keepMark();
    Log::write("AudioEngine: [%@] unable to init %@, exiting. Error {%@}",
               {"logInstantiateMicroUnit:withError:", name, error.description});
    presentErrorAndExit(
        {"AudioConfiguration", 3, formatted(localizedString("Sorry, unable to init %@. Exiting"), {name})});
}

void AudioEngine::checkForCustomView(const SharedParameters& parameters) {
    parameters->hasCustomView = hasCustomView(*parameters->synthNode);
    if (!parameters->hasCustomView) return triggerCompleteMicroUnitInstall(parameters);
    parameters->synthNode->requestViewController([this, parameters](std::shared_ptr<ViewController> controller) {
        if (controller == nullptr) return;
        parameters->auViewController = std::make_shared<audioEngineViewController>(_application, std::move(controller));
        triggerCompleteMicroUnitInstall(parameters);
    });
}

void AudioEngine::triggerCompleteMicroUnitInstall(const SharedParameters& parameters) {
    _playerThread.perform([this, parameters] { completeMicroUnitInstall(parameters); });
}

void AudioEngine::completeMicroUnitInstall(const SharedParameters& parameters) {
    const std::lock_guard lock(_installing);
    if (!isOfPresentSetUp(*parameters)) return;
    const std::shared_ptr<AVAudioUnit>& synthNode = parameters->synthNode;
    if (parameters->log) {
        Log::write("AudioEngine: [%@] %@ %@ set up %@",
                   {"completeMicroUnitInstall:", synthNode->name(), synthNode->description(),
                    parameters->hasCustomView ? "with custom view" : "without custom view"});
    }
    _avEngine->attachNode(synthNode);
    if (parameters->restore) {
        _avEngine->connect(synthNode, *_mixerNode, _outputNode->outputFormatForBus(0));
        _avEngine->prepare();
        startRunning();
    }
    setMicroUnit(synthNode, *parameters);
    presetFromDefaults(parameters->microUnitNumber);
    if (parameters->hasCustomView)
        setMicroUnitAUViewController(parameters->auViewController, parameters->microUnitNumber);
    checkWhetherAllMicroUnitsAreSetup();
}

void AudioEngine::setMicroUnit(const std::shared_ptr<AVAudioUnit>& synthNode, const InstantiateParameters& parameters) {
    microUnitFromNumber(parameters.microUnitNumber)
        .setContents({parameters.hasCustomView, true, synthNode, parameters.auViewController});
}

void AudioEngine::checkWhetherAllMicroUnitsAreSetup() {
    bool areSetUp = true;
    for (const auto& unit : _microUnits) areSetUp = areSetUp && unit->hasSynthNode();
    _allMicroUnitsAreSetUp.store(areSetUp, std::memory_order_release);
    // Whoever waits on the main thread looks at the flag only after a pass of its loop.
    _application.mainRunLoop().perform([] {});
}

void AudioEngine::checkAlllMicroUnitsAreSetUp() {
    _allMicroUnitsAreSetUp.store(true, std::memory_order_release);
}

void AudioEngine::sendMicroTunings() {
    for (std::uint32_t channel = 0; channel < 16; ++channel) {
        std::uint32_t value = 8192;
        for (std::int32_t number = kUnitCount; number >= 1; --number) {
            const auto synthNode = microUnitSynthNode(number);
            MusicDeviceMIDIEvent(synthNode ? synthNode->audioUnit() : nullptr, 0xE0 + channel, value & 0x7F, value >> 7,
                                 0);
            // The cut makes a step 409 instead of 409.6; the units have always been tuned by it.
            value = static_cast<std::uint32_t>(static_cast<float>(value) + 409.6F);
        }
    }
}

void AudioEngine::setupMicroUnitsWithDescription(const AudioComponentDescription& description) {
    _synthDescription = description;
    if (_outputNode == nullptr) setUpOutputNode();
    if (_mixerNode == nullptr) setUpMixerNode();
    cleanAllMicroUnits(false);
    setUpAllMicroUnits(true, true);
    announceNewUnits();
}

// The editors are given a moment to be there.
void AudioEngine::announceNewUnits() {
    const std::weak_ptr<AVAudioUnit> first = microUnitSynthNode(1);
    _viewAnnouncement =
        Timer::after(std::chrono::seconds(1), [this, first](Timer&) { microUnitAuViewDidChange(first.lock()); });
    RunLoop& runLoop = RunLoop::current() != nullptr ? *RunLoop::current() : _application.mainRunLoop();
    runLoop.add(_viewAnnouncement);
}

void AudioEngine::cleanAllMicroUnits(bool flag) {
    if (isRecording())
        _application.mainRunLoop().perform([&application = _application] { application.statusDidChange(); });
    // Of units that are gone there is nothing to announce.
    if (_viewAnnouncement != nullptr) _viewAnnouncement->invalidate();
    stopRecording();
    stopRunning();
    removeAllAUParameterListeners(flag);
    removeAllAUPropertyListeners(flag);
    // Before the first unit goes: an edit that is just being copied to the others holds on to them meanwhile.
    endPropertySources();
    const std::lock_guard lock(_installing);
    ++_setUpNumber;
    for (const auto& unit : _microUnits) emptyMicroUnit(*unit);
    _enabledAUPropertyIDs.drop();
    _allMicroUnitsAreSetUp.store(false, std::memory_order_release);
}

// An editor may keep the instance a while longer, but what it does there concerns no other any more.
void AudioEngine::emptyMicroUnit(MicroUnit& unit) {
    if (const auto synthNode = unit.synthNode()) {
        synthNode->audioUnit()->propertyListeners().removeAllOf(this);
        synthNode->audioUnit()->parameterListeners().removeAllOf(_ref);
        _avEngine->detachNode(synthNode);
    }
    unit.setContents({});
}

MicroUnit& AudioEngine::microUnitFromNumber(std::int32_t number) {
    if (number < 1 || number > kUnitCount) throw RangeError("no micro unit " + std::to_string(number));
    return *_microUnits[static_cast<std::size_t>(number - 1)];
}

// Number 11 passes the test and then reaches past the last slot.
std::shared_ptr<AVAudioUnit> AudioEngine::microUnitSynthNode(std::int32_t number) {
    if (_microUnits.size() < static_cast<std::size_t>(static_cast<std::int64_t>(number) - 1)) return nullptr;
    return microUnitFromNumber(number).synthNode();
}

AudioUnit* AudioEngine::audioUnitFromMicroUnit(std::int32_t number) {
    const auto synthNode = microUnitSynthNode(number);
    return synthNode != nullptr ? synthNode->audioUnit() : nullptr;
}

std::int32_t AudioEngine::microUnitNumberFromSynthNode(const AVAudioUnit* node) const {
    for (std::size_t i = 0; i < _microUnits.size(); ++i) {
        if (_microUnits[i]->synthNode().get() == node) return static_cast<std::int32_t>(i + 1);
    }
    return 0;
}

void AudioEngine::removeMicroUnit(std::int32_t number) {
    MicroUnit& unit = microUnitFromNumber(number);
    if (unit.synthNode() == nullptr) return;
    emptyMicroUnit(unit);
    _allMicroUnitsAreSetUp.store(false, std::memory_order_release);
}

void AudioEngine::turnOffReverb(AVAudioUnit& synthNode) {
    constexpr std::uint32_t kOff = 0;
    AudioUnitSetProperty(synthNode.audioUnit(), kMusicDeviceProperty_UsesInternalReverb, kAudioUnitScope_Global, 0,
                         &kOff, sizeof kOff);
}

}  // namespace zelvane
