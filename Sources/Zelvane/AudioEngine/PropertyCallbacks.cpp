// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/PropertyCallbacks.h"

#include "Platform/Audio/Units/PropertyReference.h"
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

#include <array>

namespace zelvane {

namespace {

using Value = std::array<std::byte, 16>;

bool isCopied(std::uint32_t size) {
    return size == 4 || size == 8 || size == 16;
}

bool readWhole(AudioUnit* source, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
               std::uint32_t size, Value& value) {
    std::uint32_t length = size;
    return AudioUnitGetProperty(source, id, scope, element, value.data(), &length) == kNoError && length == size;
}

}  // namespace

void MyAUParameterListenerProc(void* /*userData*/, void* object, const AudioUnitParameter& parameter, float value) {
    const auto node = static_cast<const MicroUnit*>(object)->synthNode();
    AudioUnitSetParameter(node != nullptr ? node->audioUnit() : nullptr, parameter.mParameterID, parameter.mScope,
                          parameter.mElement, value, 0);
}

void MyAUPropertyListenerProc(void* engine, AudioUnit* source, AudioUnitPropertyID id, AudioUnitScope scope,
                              AudioUnitElement element) {
    std::uint32_t size = 0;
    bool isWritable = false;
    if (AudioUnitGetPropertyInfo(source, id, scope, element, &size, &isWritable) != kNoError || !isWritable) return;
    // 8 bytes are a number or refer to an object, of which one who reads it may have to ask more than once.
    const int tries = size == 8 ? 3 : 1;
    Value value{};
    bool isRead = false;
    for (int i = 0; i < tries && isCopied(size) && !isRead; ++i)
        isRead = readWhole(source, id, scope, element, size, value);
    if (!isRead) return;
    MyAuPropertyListenerPropagate(*static_cast<AudioEngine*>(engine), source, id, scope, element, value.data(), size);
    PropertyReference reference = 0;
    if (source->propertyHoldsReference(id) && readPropertyValue(std::span(value).first(size), reference))
        releaseProperty(reference);
}

void MyAuPropertyListenerPropagate(AudioEngine& engine, const AudioUnit* source, AudioUnitPropertyID id,
                                   AudioUnitScope scope, AudioUnitElement element, const void* data,
                                   std::uint32_t size) {
    OSStatus status = kNoError;
    for (auto number = static_cast<std::int32_t>(AudioEngine::kMicroUnitCount); number >= 1 && status == kNoError;
         --number) {
        const auto node = engine.microUnitSynthNode(number);
        AudioUnit* unit = node != nullptr ? node->audioUnit() : nullptr;
        if (unit != source) status = MyAUPropagateProperty(engine, unit, id, scope, element, data, size);
    }
    if (id == kAudioUnitProperty_PresentPreset && status == kNoError) engine.sendMicroTunings();
}

OSStatus MyAUPropagateProperty(AudioEngine& engine, AudioUnit* target, AudioUnitPropertyID id, AudioUnitScope scope,
                               AudioUnitElement element, const void* data, std::uint32_t size) {
    const bool wasListenedTo =
        AudioUnitRemovePropertyListenerWithUserData(target, id, MyAUPropertyListenerProc, &engine) == kNoError;
    const OSStatus status = AudioUnitSetProperty(target, id, scope, element, data, size);
    if (wasListenedTo) AudioUnitAddPropertyListener(target, id, MyAUPropertyListenerProc, &engine);
    return status;
}

}  // namespace zelvane
