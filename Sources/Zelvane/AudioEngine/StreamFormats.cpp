// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/StreamFormats.h"

#include <array>

namespace zelvane {

AudioStreamBasicDescription StreamFormats::outputUnit() const {
    const std::lock_guard lock(_mutex);
    return _outputUnitStreamDescription;
}

void StreamFormats::setOutputUnit(const AudioStreamBasicDescription& description) {
    const std::lock_guard lock(_mutex);
    _outputUnitStreamDescription = description;
    _sampleRate.store(description.mSampleRate, std::memory_order_relaxed);
}

AudioStreamBasicDescription StreamFormats::outputFile() const {
    const std::lock_guard lock(_mutex);
    return _outputFileStreamDescription;
}

void StreamFormats::setOutputFileFromPhysicalFormat(const AudioStreamBasicDescription& physical) {
    const std::lock_guard lock(_mutex);
    _outputFileStreamDescription = {};
    _outputFileStreamDescription.mChannelsPerFrame = _outputUnitStreamDescription.mChannelsPerFrame;
    _outputFileStreamDescription.mSampleRate = physical.mSampleRate;
    _outputFileStreamDescription.mFormatID = kAudioFormatAppleLossless;
    _outputFileStreamDescription.mFormatFlags = flagFromBitsize(physical.mBitsPerChannel);
}

std::uint32_t StreamFormats::flagFromBitsize(std::uint32_t bitsPerChannel) {
    // 28 bits have no flag of their own and go with everything else that is odd.
    constexpr std::uint32_t kFallback = 4;
    constexpr std::array<std::uint32_t, 5> kFlags{1, 2, 3, kFallback, 4};
    if (bitsPerChannel < 16) return kFlags.front();
    const std::uint32_t beyond = bitsPerChannel - 16;
    return beyond % 4 == 0 && beyond / 4 < kFlags.size() ? kFlags[beyond / 4] : kFallback;
}

}  // namespace zelvane
