// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Collation.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <algorithm>
#include <tuple>

namespace zelvane {

namespace {

// Safe in a sandbox, made asynchronously, loaded in this process.
constexpr std::uint32_t kInstrumentFlags = 0x1A;

template <typename Value>
std::vector<std::string> sortedKeys(const std::map<std::string, Value>& map) {
    std::vector<std::string> keys;
    keys.reserve(map.size());
    for (const auto& entry : map) keys.push_back(entry.first);
    std::sort(keys.begin(), keys.end(), localizedCaseInsensitiveLess);
    return keys;
}

}  // namespace

void AudioEngine::initAudioDevices() {
    _outputDevicesMap.clear();
    constexpr AudioObjectPropertyAddress kDevices{kAudioHardwarePropertyDevices, kAudioObjectPropertyScopeGlobal, 0};
    AudioHardware& hardware = _platform.hardware;
    std::uint32_t size = 0;
    if (AudioObjectGetPropertyDataSize(hardware, kAudioObjectSystemObject, kDevices, size) != kNoError) return;
    std::vector<AudioObjectID> devices(size / sizeof(AudioObjectID));
    size = static_cast<std::uint32_t>(devices.size() * sizeof(AudioObjectID));
    if (AudioObjectGetPropertyData(hardware, kAudioObjectSystemObject, kDevices, size, devices.data()) != kNoError)
        return;
    devices.resize(std::min(devices.size(), size / sizeof(AudioObjectID)));
    for (const AudioObjectID device : devices) addAudioDevice(device);
}

void AudioEngine::addAudioDevice(AudioObjectID device) {
    constexpr AudioObjectPropertyAddress kName{kAudioDevicePropertyDeviceName, kAudioObjectPropertyScopeGlobal, 0};
    constexpr AudioObjectPropertyAddress kStreams{kAudioDevicePropertyStreams, kAudioDevicePropertyScopeOutput, 0};
    AudioHardware& hardware = _platform.hardware;
    std::array<char, 64> name{};
    std::uint32_t size = name.size();
    if (AudioObjectGetPropertyData(hardware, device, kName, size, name.data()) != kNoError) return;
    size = 0;
    if (AudioObjectGetPropertyDataSize(hardware, device, kStreams, size) != kNoError || size == 0) return;
    name.back() = '\0';
    _outputDevicesMap[name.data()] = device;
}

std::vector<std::string> AudioEngine::audioDevices() const {
    return sortedKeys(_outputDevicesMap);
}

std::string AudioEngine::currentAudioDevice() const {
    const std::string device = _platform.controller.status().current.device;
    return _outputDevicesMap.contains(device) ? device : std::string();
}

std::string AudioEngine::currentMusicDevice() {
    const auto node = microUnitSynthNode(1);
    return node != nullptr && _musicDevicesMap.contains(node->name()) ? node->name() : std::string();
}

std::string AudioEngine::loadedMusicDevice() const {
    if (!allMicroUnitsAreSetUp()) return {};
    const auto key = [](const AudioComponentDescription& description) {
        return std::tie(description.componentType, description.componentSubType, description.componentManufacturer);
    };
    for (const auto& [name, component] : _musicDevicesMap) {
        if (key(component.audioComponentDescription) == key(_synthDescription)) return name;
    }
    return {};
}

Microtones AudioEngine::microtonesOfMusicDevice(const std::string& name) const {
    const auto place = _musicDevicesMap.find(name);
    return place != _musicDevicesMap.end() ? place->second.microtones : Microtones::unknown;
}

void AudioEngine::setAudioDeviceFromName(const std::string& name) {
    const auto place = _outputDevicesMap.find(name);
    const AudioObjectID device = place == _outputDevicesMap.end() ? 0 : place->second;
    stopRunning();
    if (_outputNode != nullptr) {
        AudioUnitSetProperty(_outputNode->audioUnit(), kAudioOutputUnitProperty_CurrentDevice, kAudioUnitScope_Global,
                             0, &device, sizeof device);
    }
    startRunning();
}

std::vector<AVAudioUnitComponent> AudioEngine::findAllMusicDevices() {
    return _platform.components.componentsMatchingDescription({.componentType = kAudioUnitType_MusicDevice,
                                                               .componentFlags = kAudioComponentFlag_SandboxSafe,
                                                               .componentFlagsMask = kAudioComponentFlag_SandboxSafe});
}

void AudioEngine::initMusicDevices() {
    _avEngine = std::make_unique<AVAudioEngine>(_platform.graph, _platform.controller, _platform.hardware);
    _musicDevicesMap.clear();
    const auto components = findAllMusicDevices();
    if (components.empty()) {
        Log::write("AudioEngine: [%@] no suitable music devices found, exiting", {"initMusicDevices"});
        return presentErrorAndExit({"AudioConfiguration", 1,
                                    localizedString("Sorry, no suitable music devices found. Exiting."),
                                    _platform.components.installationAdvice()});
    }
    for (const auto& component : components) {
        const AudioComponentDescription& description = component.audioComponentDescription;
        if ((description.componentFlags & kAudioComponentFlag_SandboxSafe) != 0)
            _musicDevicesMap[component.name] = component;
        if (component.name != localizedString("DLSMusicDevice")) continue;
        _synthDescription = description;
        setUpAudioAndStartRunning();
        Log::write("AudioEngine: [%@] audio configuration started successfully", {"initMusicDevices"});
    }
}

std::vector<std::string> AudioEngine::musicDevices() const {
    return sortedKeys(_musicDevicesMap);
}

void AudioEngine::setMusicDeviceFromName(const std::string& name) {
    const auto place = _musicDevicesMap.find(name);
    if (place == _musicDevicesMap.end() || !isOffered(place->second.audioComponentDescription))
        return tellOfMissingInstrument(name);
    AudioComponentDescription description = place->second.audioComponentDescription;
    description.componentFlags = kInstrumentFlags;
    description.componentFlagsMask = kInstrumentFlags;
    _instrumentTrial.end();
    if (name != localizedString("DLSMusicDevice")) _instrumentTrial.begin(name);
    setupMicroUnitsWithDescription(description);
    if (allMicroUnitsAreSetUp())
        _instrumentTrial.watch(_application.mainRunLoop(), [this] { return blocksRendered(); });
}

/// It may have been removed since the table was made.
bool AudioEngine::isOffered(const AudioComponentDescription& description) {
    AudioComponentDescription wanted = description;
    wanted.componentFlags = wanted.componentFlagsMask = kAudioComponentFlag_SandboxSafe;
    return !_platform.components.componentsMatchingDescription(wanted).empty();
}

void AudioEngine::updateMusicDevices() {
    std::map<std::string, AVAudioUnitComponent> offered;
    for (const auto& component : findAllMusicDevices()) offered[component.name] = component;
    std::erase_if(_musicDevicesMap, [&](const auto& entry) { return !offered.contains(entry.first); });
    for (const auto& [name, component] : offered) _musicDevicesMap[name] = component;
}

std::vector<std::uint64_t> AudioEngine::blocksRendered() const {
    std::vector<std::uint64_t> counts;
    for (const auto& unit : _microUnits) {
        const auto synthNode = unit->synthNode();
        counts.push_back(synthNode != nullptr ? synthNode->audioUnit()->blocksRendered() : 0);
    }
    return counts;
}

void AudioEngine::tellOfMissingInstrument(const std::string& name) {
    Log::write("AudioEngine: [%@] unable to connect OSC/MIDI to %@", {"setMusicDeviceFromName:", name});
    presentErrorWaiting(_application, {"MidiConfiguration", 3,
                                       formatted(localizedString("Sorry, unable to connect OSC/MIDI to %@"), {name})});
}

}  // namespace zelvane
