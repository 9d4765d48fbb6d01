// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Graph/MixerTap.h"

#include <algorithm>

namespace zelvane {

MixerTap::MixerTap(std::uint32_t bufferFrames, AVAudioNodeTapBlock block)
    : _bufferFrames(std::max(bufferFrames, 1U)),
      _block(std::move(block)),
      _left(_bufferFrames),
      _right(_bufferFrames) {}

void MixerTap::write(const float* left, const float* right, std::uint32_t frames, std::int64_t firstFrame,
                     double sampleRate) noexcept {
    for (std::uint32_t done = 0; done < frames;) {
        const std::uint32_t count = std::min(frames - done, _bufferFrames - _filled);
        std::copy_n(left + done, count, _left.data() + _filled);
        std::copy_n(right + done, count, _right.data() + _filled);
        _filled += count;
        done += count;
        if (_filled < _bufferFrames) continue;
        _block({{_left.data(), _right.data()}, _bufferFrames}, {firstFrame + done - _bufferFrames, sampleRate});
        _filled = 0;
    }
}

}  // namespace zelvane
