// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AudioUnitParameterInfo.h"
#include "Platform/Foundation/Log.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"
#include "Sources/Zelvane/AudioEngine/AudioUnitPropertyNames.h"
#include "Sources/Zelvane/AudioEngine/PropertyCallbacks.h"

namespace zelvane {

namespace {

constexpr const char* kParameterSelector = "setAudioUnitParameterListeners:modus:log:";
constexpr Duration kNotificationInterval = std::chrono::milliseconds(100);
constexpr auto kUnitCount = static_cast<std::int32_t>(AudioEngine::kMicroUnitCount);

std::vector<AudioUnitParameterID> parameterIDs(AudioUnit* unit) {
    std::uint32_t size = 0;
    if (AudioUnitGetPropertyInfo(unit, kAudioUnitProperty_ParameterList, kAudioUnitScope_Global, 0, &size, nullptr) !=
        kNoError)
        return {};
    std::vector<AudioUnitParameterID> ids(size / sizeof(AudioUnitParameterID));
    if (ids.empty() || AudioUnitGetProperty(unit, kAudioUnitProperty_ParameterList, kAudioUnitScope_Global, 0,
                                            ids.data(), &size) != kNoError)
        return {};
    return ids;
}

bool readParameterInfo(AudioUnit* unit, AudioUnitParameterID id, AudioUnitParameterInfo& info) {
    std::uint32_t size = sizeof info;
    return AudioUnitGetProperty(unit, kAudioUnitProperty_ParameterInfo, kAudioUnitScope_Global, id, &info, &size) ==
           kNoError;
}

}  // namespace

void AudioEngine::propagateFromMicroUnitNumber(std::int32_t number) {
    MicroUnit& unit = microUnitFromNumber(number);
    if (!unit.hasSynthNode() || !unit.hasCustomView()) return;
    endPropertySources();
    removeAllAUParameterListeners(false);
    setAudioUnitParameterListeners(unit, 1, false);
    removeAllAUPropertyListeners(false);
    setAudioUnitPropertyListeners(unit, 1, false);
}

// The removal below goes by a list that it drops at the first unit, so that it may leave some behind.
void AudioEngine::endPropertySources() {
    for (const auto& unit : _microUnits) {
        if (const auto node = unit->synthNode()) node->audioUnit()->propertyListeners().removeAllOf(this);
    }
}

void AudioEngine::removeAllAUParameterListeners(bool log) {
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        MicroUnit& unit = microUnitFromNumber(number);
        if (unit.hasCustomView()) setAudioUnitParameterListeners(unit, 0, log);
    }
}

void AudioEngine::removeAllAUPropertyListeners(bool log) {
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        MicroUnit& unit = microUnitFromNumber(number);
        if (unit.hasCustomView()) setAudioUnitPropertyListeners(unit, 0, log);
    }
}

void AudioEngine::setAudioUnitParameterListeners(MicroUnit& source, std::int32_t modus, bool log) {
    const auto node = source.synthNode();
    if (!source.hasCustomView() || node == nullptr) return;
    if (_ref == nullptr &&
        AUListenerCreate(MyAUParameterListenerProc, this, nullptr, kNotificationInterval, _ref) != kNoError)
        return;
    for (const AudioUnitParameterID id : parameterIDs(node->audioUnit())) {
        AudioUnitParameterInfo info;
        float value = 0;
        const AudioUnitParameter parameter{node->audioUnit(), id, kAudioUnitScope_Global, 0};
        if (!readParameterInfo(node->audioUnit(), id, info) ||
            AudioUnitGetParameter(parameter.mAudioUnit, id, parameter.mScope, parameter.mElement, &value) != kNoError)
            continue;
        const ListenedParameter listened{*node, parameter, value, info.name};
        switch (modus) {
            case 0:
                removeParameterListeners(listened, log);
                break;
            case 1:
                addParameterListeners(listened, log);
                break;
            default:
                copyParameter(listened, log);
        }
    }
}

void AudioEngine::logParameter(const char* pattern, const ListenedParameter& listened) {
    Log::write(pattern, {kParameterSelector, listened.node.name(), listened.node.description(),
                         std::to_string(static_cast<std::int32_t>(listened.parameter.mParameterID)), listened.name});
}

// What was registered were the micro units, not their instances: this finds none of them. They end with their unit.
void AudioEngine::removeParameterListeners(const ListenedParameter& listened, bool log) {
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        const auto other = microUnitSynthNode(number);
        if (other.get() == &listened.node) continue;
        if (AUListenerRemoveParameter(_ref, other.get(), listened.parameter) == kNoError && log)
            logParameter("AudioEngine+Properties: [%@] removed listener for %@ %@ parameter %d named %@", listened);
    }
}

void AudioEngine::addParameterListeners(const ListenedParameter& listened, bool log) {
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        MicroUnit& unit = microUnitFromNumber(number);
        if (unit.synthNode().get() == &listened.node) continue;
        if (AUListenerAddParameter(_ref, &unit, listened.parameter) == kNoError && log)
            logParameter("AudioEngine+Properties: [%@] installed listener for %@ %@ parameter %d named %@", listened);
    }
}

void AudioEngine::copyParameter(const ListenedParameter& listened, bool log) {
    for (std::int32_t number = kUnitCount; number >= 1; --number) {
        MicroUnit& unit = microUnitFromNumber(number);
        const auto node = unit.synthNode();
        if (node.get() == &listened.node) continue;
        MyAUParameterListenerProc(nullptr, &unit, listened.parameter, listened.value);
        MyAUPropertyListenerProc(this, node != nullptr ? node->audioUnit() : nullptr, listened.parameter.mParameterID,
                                 kAudioUnitScope_Global, 0);
    }
    if (log) logParameter("AudioEngine+Properties: [%@] propagated %@ %@ parameter %d named %@", listened);
}

std::string AudioEngine::audioUnitPropertyNameFromID(AudioUnitPropertyID id) {
    return zelvane::audioUnitPropertyNameFromID(id);
}

std::filesystem::path AudioEngine::pathToEnabledPropertyIDsFile(const AVAudioUnit& node, SearchPathDomain domain,
                                                                bool create) {
    return zelvane::pathToEnabledPropertyIDsFile(node.name(), domain, create);
}

}  // namespace zelvane
