// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/File/SampleRing.h"

#include <algorithm>
#include <cstring>

namespace zelvane {

bool SampleRing::push(std::span<const float* const> channels, std::uint32_t frames, double sampleRate) noexcept {
    const std::uint64_t end = _end.load(std::memory_order_relaxed);
    const std::size_t room = _words.size() - static_cast<std::size_t>(end - _begin.load(std::memory_order_acquire));
    const std::size_t needed = kHeaderWords + channels.size() * frames;
    if (needed > room) {
        drop(frames, sampleRate);
        return false;
    }
    const Header header{_droppedSeconds.load(std::memory_order_relaxed), sampleRate,
                        static_cast<std::uint32_t>(channels.size()), frames};
    _droppedSeconds.store(0, std::memory_order_relaxed);
    put(end, &header, kHeaderWords);
    std::uint64_t place = end + kHeaderWords;
    for (const float* channel : channels) {
        put(place, channel, frames);
        place += frames;
    }
    _end.store(place, std::memory_order_release);
    return true;
}

bool SampleRing::pop(RingBlock& block) {
    const std::uint64_t begin = _begin.load(std::memory_order_relaxed);
    if (begin == _end.load(std::memory_order_acquire)) return false;
    Header header{};
    get(begin, &header, kHeaderWords);
    const std::size_t samples = std::size_t{header.channels} * header.frames;
    block.silenceSeconds = header.silenceSeconds;
    block.sampleRate = header.sampleRate;
    block.channels = header.channels;
    block.frames = header.frames;
    block.samples.resize(samples);
    get(begin + kHeaderWords, block.samples.data(), samples);
    _begin.store(begin + kHeaderWords + samples, std::memory_order_release);
    return true;
}

void SampleRing::drop(std::uint32_t frames, double sampleRate) noexcept {
    _framesDropped.store(_framesDropped.load(std::memory_order_relaxed) + frames, std::memory_order_relaxed);
    const double seconds = _droppedSeconds.load(std::memory_order_relaxed);
    _droppedSeconds.store(seconds + frames / sampleRate, std::memory_order_release);
}

void SampleRing::put(std::uint64_t place, const void* from, std::size_t words) noexcept {
    const auto start = static_cast<std::size_t>(place % _words.size());
    const std::size_t first = std::min(words, _words.size() - start);
    std::memcpy(_words.data() + start, from, first * sizeof(float));
    std::memcpy(_words.data(), static_cast<const char*>(from) + first * sizeof(float), (words - first) * sizeof(float));
}

void SampleRing::get(std::uint64_t place, void* to, std::size_t words) const {
    const auto start = static_cast<std::size_t>(place % _words.size());
    const std::size_t first = std::min(words, _words.size() - start);
    std::memcpy(to, _words.data() + start, first * sizeof(float));
    std::memcpy(static_cast<char*>(to) + first * sizeof(float), _words.data(), (words - first) * sizeof(float));
}

}  // namespace zelvane
