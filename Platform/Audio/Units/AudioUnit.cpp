// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AudioUnit.h"

#include <algorithm>

namespace zelvane {

void AudioUnit::addProperties(std::vector<UnitProperty> properties) {
    std::move(properties.begin(), properties.end(), std::back_inserter(_properties));
    const auto byID = [](const UnitProperty& a, const UnitProperty& b) { return a.id < b.id; };
    const auto sameID = [](const UnitProperty& a, const UnitProperty& b) { return a.id == b.id; };
    std::stable_sort(_properties.begin(), _properties.end(), byID);
    _properties.erase(std::unique(_properties.begin(), _properties.end(), sameID), _properties.end());
    if (!_properties.empty()) _lastPropertyID = _properties.back().id;
}

const UnitProperty* AudioUnit::propertyWithID(AudioUnitPropertyID id) const {
    const auto place =
        std::lower_bound(_properties.begin(), _properties.end(), id,
                         [](const UnitProperty& p, AudioUnitPropertyID wanted) { return p.id < wanted; });
    return place != _properties.end() && place->id == id ? &*place : nullptr;
}

OSStatus AudioUnit::find(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         const UnitProperty*& property) const {
    property = propertyWithID(id);
    if (property == nullptr) return kAudioUnitErr_InvalidProperty;
    if (scope > 31 || ((property->scopes >> scope) & 1U) == 0) return kAudioUnitErr_InvalidScope;
    if (element != 0 && !property->takesElement) return kAudioUnitErr_InvalidElement;
    return kNoError;
}

OSStatus AudioUnit::propertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                                 std::uint32_t& size, bool& isWritable) {
    const UnitProperty* property = nullptr;
    if (const OSStatus status = find(id, scope, element, property); status != kNoError) return status;
    const std::lock_guard lock(_propertyMutex);
    size = property->size();
    isWritable = property->isWritable;
    return kNoError;
}

OSStatus AudioUnit::property(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                             std::span<std::byte> buffer, std::uint32_t& size) {
    const UnitProperty* property = nullptr;
    if (const OSStatus status = find(id, scope, element, property); status != kNoError) return status;
    if (!property->get) return kAudioUnitErr_InvalidProperty;
    const std::lock_guard lock(_propertyMutex);
    const std::uint32_t length = property->size();
    if (buffer.size() < length) return kAudioUnitErr_InvalidPropertyValue;
    const OSStatus status = property->get(element, buffer.first(length));
    if (status == kNoError) size = length;
    return status;
}

OSStatus AudioUnit::setProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                                std::span<const std::byte> value) {
    const UnitProperty* property = nullptr;
    if (const OSStatus status = find(id, scope, element, property); status != kNoError) return status;
    if (!property->isWritable || !property->set) return kAudioUnitErr_PropertyNotWritable;
    std::unique_lock lock(_propertyMutex);
    const OSStatus status = property->set(value);
    lock.unlock();
    if (status == kNoError) _propertyListeners.notify(*this, id, scope, element);
    return status;
}

bool AudioUnit::propertyHoldsReference(AudioUnitPropertyID id) const {
    const UnitProperty* property = propertyWithID(id);
    return property != nullptr && property->holdsReference;
}

OSStatus AudioUnitGetPossiblePropertyInfo(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                          AudioUnitElement element, std::uint32_t* size, bool* isWritable) {
    if (unit == nullptr) return kAudio_ParamError;
    std::uint32_t length = 0;
    bool writable = false;
    const OSStatus status = unit->propertyInfo(id, scope, element, length, writable);
    if (status != kNoError) return status;
    if (size != nullptr) *size = length;
    if (isWritable != nullptr) *isWritable = writable;
    return kNoError;
}

OSStatus AudioUnitGetProperty(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                              void* value, std::uint32_t* size) {
    if (unit == nullptr || value == nullptr || size == nullptr) return kAudio_ParamError;
    return unit->property(id, scope, element, {static_cast<std::byte*>(value), *size}, *size);
}

OSStatus AudioUnitSetProperty(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                              const void* value, std::uint32_t size) {
    if (unit == nullptr || (value == nullptr && size != 0)) return kAudio_ParamError;
    return unit->setProperty(id, scope, element, {static_cast<const std::byte*>(value), size});
}

OSStatus AudioUnitAddPropertyListener(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitPropertyListenerProc procedure,
                                      void* userData) {
    if (unit == nullptr || procedure == nullptr) return kAudio_ParamError;
    std::uint32_t size = 0;
    bool isWritable = false;
    const OSStatus status = unit->propertyInfo(id, kAudioUnitScope_Global, 0, size, isWritable);
    if (status == kNoError) unit->propertyListeners().add({id, procedure, userData});
    return status;
}

OSStatus AudioUnitRemovePropertyListenerWithUserData(AudioUnit* unit, AudioUnitPropertyID id,
                                                     AudioUnitPropertyListenerProc procedure, void* userData) {
    if (unit == nullptr) return kAudio_ParamError;
    return unit->propertyListeners().remove({id, procedure, userData}) ? kNoError : kAudioUnitErr_InvalidProperty;
}

OSStatus AudioUnitGetParameter(AudioUnit* unit, AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                               float* value) {
    if (unit == nullptr || value == nullptr) return kAudio_ParamError;
    return unit->parameter(id, scope, element, *value);
}

OSStatus AudioUnitSetParameter(AudioUnit* unit, AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                               float value, std::uint32_t /*bufferOffset*/) {
    if (unit == nullptr) return kAudio_ParamError;
    return unit->setParameter(id, scope, element, value);
}

OSStatus MusicDeviceMIDIEvent(AudioUnit* unit, std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                              std::uint32_t sampleOffset) {
    if (unit == nullptr) return kAudio_ParamError;
    return unit->midiEvent(status, data1, data2, sampleOffset);
}

}  // namespace zelvane
