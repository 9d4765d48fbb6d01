// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AUListener.h"
#include "Platform/Audio/Units/AudioUnit.h"

#include <gtest/gtest.h>

namespace zelvane {

inline float parameterOf(AudioUnit* unit, AudioUnitParameterID id) {
    float value = -1;
    EXPECT_EQ(AudioUnitGetParameter(unit, id, kAudioUnitScope_Global, 0, &value), kNoError);
    return value;
}

/// Sets a parameter as an editor does: those who listen to the unit hear of it.
inline OSStatus editParameter(AudioUnit* unit, AudioUnitParameterID id, float value) {
    return AUParameterSet(nullptr, nullptr, {unit, id, kAudioUnitScope_Global, 0}, value, 0);
}

template <typename Value>
Value propertyOf(AudioUnit* unit, AudioUnitPropertyID id) {
    Value value{};
    std::uint32_t size = sizeof value;
    EXPECT_EQ(AudioUnitGetProperty(unit, id, kAudioUnitScope_Global, 0, &value, &size), kNoError);
    return value;
}

template <typename Value>
OSStatus setProperty(AudioUnit* unit, AudioUnitPropertyID id, const Value& value) {
    return AudioUnitSetProperty(unit, id, kAudioUnitScope_Global, 0, &value, sizeof value);
}

}  // namespace zelvane
