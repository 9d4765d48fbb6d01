// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/PropertyReference.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

namespace {

std::string presetKey(const AVAudioUnit& node, std::int32_t number) {
    return formatted("%@_%d", {node.name(), std::to_string(number)});
}

PropertyReference readReference(AudioUnit* unit, AudioUnitPropertyID id) {
    PropertyReference reference = 0;
    std::uint32_t size = sizeof reference;
    const OSStatus status = AudioUnitGetProperty(unit, id, kAudioUnitScope_Global, 0, &reference, &size);
    return status == kNoError && size == sizeof reference ? reference : 0;
}

OSStatus setReference(AudioUnit* unit, AudioUnitPropertyID id, PropertyReference reference) {
    return AudioUnitSetProperty(unit, id, kAudioUnitScope_Global, 0, &reference, sizeof reference);
}

}  // namespace

void AudioEngine::storeCurrentPresetToDefaults(std::int32_t number) {
    const auto node = microUnitSynthNode(number);
    if (node == nullptr) return;
    PropertyReference reference = readReference(node->audioUnit(), kAudioUnitProperty_ClassInfoFromDocument);
    if (reference == 0) reference = readReference(node->audioUnit(), kAudioUnitProperty_ClassInfo);
    if (const auto classInfo = propertyObject(reference)) _defaults.set(presetKey(*node, number), *classInfo);
    releaseProperty(reference);
}

void AudioEngine::presetFromDefaults(std::int32_t number) {
    const auto node = microUnitSynthNode(number);
    if (node == nullptr) return;
    const auto stored = _defaults.object(presetKey(*node, number));
    if (!stored) return;
    const PropertyReference reference = retainProperty(*stored);
    if (setReference(node->audioUnit(), kAudioUnitProperty_ClassInfoFromDocument, reference) != kNoError)
        setReference(node->audioUnit(), kAudioUnitProperty_ClassInfo, reference);
    releaseProperty(reference);
}

bool AudioEngine::windowShouldClose() {
    sendMicroTunings();
    for (auto number = static_cast<std::int32_t>(kMicroUnitCount); number >= 1; --number)
        storeCurrentPresetToDefaults(number);
    return true;
}

}  // namespace zelvane
