// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUPreset.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Audio/Units/PropertyReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>

namespace zelvane {

inline const UnitProperty& property(const Instrument& instrument, AudioUnitPropertyID id) {
    const auto all = instrument.properties();
    return *std::find_if(all.begin(), all.end(), [id](const UnitProperty& one) { return one.id == id; });
}

template <typename Value>
Value got(const Instrument& instrument, AudioUnitPropertyID id) {
    Value value{};
    EXPECT_EQ(property(instrument, id).size(), sizeof value);
    EXPECT_EQ(property(instrument, id).get(0, std::as_writable_bytes(std::span(&value, 1))), kNoError);
    return value;
}

template <typename Value>
OSStatus set(const Instrument& instrument, AudioUnitPropertyID id, const Value& value) {
    return property(instrument, id).set(std::as_bytes(std::span(&value, 1)));
}

inline PropertyList gotObject(const Instrument& instrument, AudioUnitPropertyID id) {
    const auto reference = got<PropertyReference>(instrument, id);
    const auto object = propertyObject(reference);
    releaseProperty(reference);
    EXPECT_EQ(propertyObject(reference), nullptr) << "a reader's count is the only one";
    return object ? *object : PropertyList{};
}

inline OSStatus setObject(const Instrument& instrument, AudioUnitPropertyID id, PropertyList object) {
    const PropertyReference reference = retainProperty(std::move(object));
    const OSStatus status = set(instrument, id, reference);
    releaseProperty(reference);
    return status;
}

}  // namespace zelvane
