// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/OSStatus.h"

#include <cstdint>

namespace zelvane {

inline constexpr OSStatus kAudio_ParamError = -50;
inline constexpr OSStatus kAudioUnitErr_InvalidProperty = -10879;
inline constexpr OSStatus kAudioUnitErr_InvalidParameter = -10878;
inline constexpr OSStatus kAudioUnitErr_InvalidElement = -10877;
inline constexpr OSStatus kAudioUnitErr_FailedInitialization = -10875;
inline constexpr OSStatus kAudioUnitErr_InvalidFile = -10871;
inline constexpr OSStatus kAudioUnitErr_Uninitialized = -10867;
inline constexpr OSStatus kAudioUnitErr_InvalidScope = -10866;
inline constexpr OSStatus kAudioUnitErr_PropertyNotWritable = -10865;
inline constexpr OSStatus kAudioUnitErr_InvalidPropertyValue = -10851;
inline constexpr OSStatus kAudioHardwareUnknownPropertyError = 0x77686F3F;   // 'who?'
inline constexpr OSStatus kAudioHardwareBadObjectError = 0x216F626A;         // '!obj'
inline constexpr OSStatus kAudioHardwareBadPropertySizeError = 0x2173697A;   // '!siz'
inline constexpr OSStatus kAudioHardwareIllegalOperationError = 0x6E6F7065;  // 'nope'

/// Parameters and properties belong to a scope of a unit.
using AudioUnitScope = std::uint32_t;
inline constexpr AudioUnitScope kAudioUnitScope_Global = 0;
inline constexpr AudioUnitScope kAudioUnitScope_Input = 1;
inline constexpr AudioUnitScope kAudioUnitScope_Output = 2;

using AudioUnitElement = std::uint32_t;
using AudioUnitPropertyID = std::uint32_t;
using AudioUnitParameterID = std::uint32_t;

/// What a component is; the flags do not take part in finding one.
struct AudioComponentDescription {
    std::uint32_t componentType = 0;
    std::uint32_t componentSubType = 0;
    std::uint32_t componentManufacturer = 0;
    std::uint32_t componentFlags = 0;
    std::uint32_t componentFlagsMask = 0;

    bool operator==(const AudioComponentDescription&) const = default;
};

inline constexpr std::uint32_t kAudioUnitType_MusicDevice = 0x61756D75;  // 'aumu'
inline constexpr std::uint32_t kAudioComponentFlag_SandboxSafe = 2;

/// The layout of a stream of samples. 40 bytes, as properties carry it.
struct AudioStreamBasicDescription {
    double mSampleRate = 0;
    std::uint32_t mFormatID = 0;
    std::uint32_t mFormatFlags = 0;
    std::uint32_t mBytesPerPacket = 0;
    std::uint32_t mFramesPerPacket = 0;
    std::uint32_t mBytesPerFrame = 0;
    std::uint32_t mChannelsPerFrame = 0;
    std::uint32_t mBitsPerChannel = 0;
    std::uint32_t mReserved = 0;

    bool operator==(const AudioStreamBasicDescription&) const = default;
};
static_assert(sizeof(AudioStreamBasicDescription) == 40);

inline constexpr std::uint32_t kAudioFormatLinearPCM = 0x6C70636D;      // 'lpcm'
inline constexpr std::uint32_t kAudioFormatAppleLossless = 0x616C6163;  // 'alac'
inline constexpr std::uint32_t kAudioFormatFlagIsFloat = 1;
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 4;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 8;
inline constexpr std::uint32_t kAudioFormatFlagIsNonInterleaved = 32;

/// Float samples, one buffer a channel: what the graph works in.
AudioStreamBasicDescription floatStreamDescription(double sampleRate, std::uint32_t channels);

}  // namespace zelvane
