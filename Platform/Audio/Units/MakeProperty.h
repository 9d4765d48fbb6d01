// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/PropertyReference.h"
#include "Platform/Audio/Units/UnitProperty.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zelvane {

/// A property whose value is plain bytes of one type: `get` returns it, `set` takes it and returns a status.
template <typename Value, typename Get, typename Set>
UnitProperty valueProperty(AudioUnitPropertyID id, Get get, Set set) {
    UnitProperty property;
    property.id = id;
    property.isWritable = true;
    property.size = [] { return static_cast<std::uint32_t>(sizeof(Value)); };
    property.get = [get](AudioUnitElement, std::span<std::byte> out) {
        writePropertyValue<Value>(out, get());
        return kNoError;
    };
    property.set = [set](std::span<const std::byte> bytes) {
        Value value{};
        return readPropertyValue(bytes, value) ? set(value) : kAudioUnitErr_InvalidPropertyValue;
    };
    return property;
}

/// A property whose value refers to an object: `get` makes one, `set` takes one.
template <typename Get, typename Set>
UnitProperty objectProperty(AudioUnitPropertyID id, Get get, Set set) {
    UnitProperty property = valueProperty<PropertyReference>(
        id, [get] { return retainProperty(get()); },
        [set](PropertyReference reference) {
            const auto object = propertyObject(reference);
            return object == nullptr ? kAudioUnitErr_InvalidPropertyValue : set(*object);
        });
    property.holdsReference = true;
    return property;
}

}  // namespace zelvane
