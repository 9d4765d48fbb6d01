// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace zelvane {

/// A stretch of samples, one buffer a channel.
struct AVAudioPCMBuffer {
    std::array<const float*, 2> channelData{};
    std::uint32_t frameLength = 0;
};

/// Where a stretch stands in the rendered stream.
struct AVAudioTime {
    std::int64_t sampleTime = 0;
    double sampleRate = 0;
};

/// Called on the audio thread with each full buffer of the mix, so it must be real-time safe.
using AVAudioNodeTapBlock = std::function<void(const AVAudioPCMBuffer&, const AVAudioTime&)>;

/// Cuts the mix into buffers of one length. Made by control threads, then used by the audio thread alone.
class MixerTap {
  public:
    MixerTap(std::uint32_t bufferFrames, AVAudioNodeTapBlock block);

    /// Real-time safe.
    void write(const float* left, const float* right, std::uint32_t frames, std::int64_t firstFrame,
               double sampleRate) noexcept;

  private:
    const std::uint32_t _bufferFrames;
    const AVAudioNodeTapBlock _block;
    std::vector<float> _left, _right;
    std::uint32_t _filled = 0;
};

}  // namespace zelvane
