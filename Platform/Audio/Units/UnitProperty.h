// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>

namespace zelvane {

inline constexpr AudioUnitPropertyID kAudioUnitProperty_ClassInfo = 0;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_SampleRate = 2;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterList = 3;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ParameterInfo = 4;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_StreamFormat = 8;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_Latency = 12;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_MaximumFramesPerSlice = 14;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_TailTime = 20;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_FactoryPresets = 24;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_RenderQuality = 26;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_PresentPreset = 36;
inline constexpr AudioUnitPropertyID kAudioUnitProperty_ClassInfoFromDocument = 50;
inline constexpr AudioUnitPropertyID kMusicDeviceProperty_UsesInternalReverb = 1005;
inline constexpr AudioUnitPropertyID kMusicDeviceProperty_SoundBankURL = 1100;

/// One property: its size and how it is read and written. All are of the global scope, element 0, unless the functions
/// look at the element, as those of a parameter's information do.
struct UnitProperty {
    AudioUnitPropertyID id = 0;
    bool isWritable = false;
    /// Bytes of the value now.
    std::function<std::uint32_t()> size;
    /// Writes the value into a buffer of at least `size()` bytes. Empty for a property that is only written.
    std::function<OSStatus(AudioUnitElement, std::span<std::byte>)> get;
    /// Takes a value of any length and refuses a wrong one with `kAudioUnitErr_InvalidPropertyValue`.
    std::function<OSStatus(std::span<const std::byte>)> set;
    /// Scopes in which it exists, one bit each, and whether an element other than 0 has a meaning.
    std::uint32_t scopes = 1U << kAudioUnitScope_Global;
    bool takesElement = false;
    /// Whether the 8 bytes of the value are a `PropertyReference`, of which each reader gets a count.
    bool holdsReference = false;
};

/// A value of plain bytes as it stands in a property; false when the length does not fit.
template <typename Value>
bool readPropertyValue(std::span<const std::byte> bytes, Value& value) {
    if (bytes.size() != sizeof value) return false;
    std::memcpy(&value, bytes.data(), sizeof value);
    return true;
}

template <typename Value>
void writePropertyValue(std::span<std::byte> bytes, const Value& value) {
    std::memcpy(bytes.data(), &value, sizeof value);
}

}  // namespace zelvane
