// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/AudioTypes.h"

namespace zelvane {

AudioStreamBasicDescription floatStreamDescription(double sampleRate, std::uint32_t channels) {
    return {.mSampleRate = sampleRate,
            .mFormatID = kAudioFormatLinearPCM,
            .mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked | kAudioFormatFlagIsNonInterleaved,
            .mBytesPerPacket = sizeof(float),
            .mFramesPerPacket = 1,
            .mBytesPerFrame = sizeof(float),
            .mChannelsPerFrame = channels,
            .mBitsPerChannel = 32,
            .mReserved = 0};
}

}  // namespace zelvane
