// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zelvane {

/// A stretch of sound taken out of the ring, and the silence that goes before it.
struct RingBlock {
    double silenceSeconds = 0;  ///< length of what was dropped right before
    double sampleRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t frames = 0;
    std::vector<float> samples;  ///< one channel after the other
};

/// A bounded queue of sound from one writer, the audio thread, to one reader, without locks. What does not fit is
/// dropped and remembered by its length, so that the reader can put silence in its place.
class SampleRing {
  public:
    /// Room for that many samples of all channels together, headers included; the memory is touched, so that the writer
    /// meets no page that is not there yet.
    explicit SampleRing(std::size_t samples) : _words(samples, 0.0F) {}

    /// Writer, real-time safe. One buffer a channel. False when the block was dropped.
    bool push(std::span<const float* const> channels, std::uint32_t frames, double sampleRate) noexcept;

    /// Reader. False when the ring is empty.
    bool pop(RingBlock& block);
    /// Reader, once the writer has stopped: length of what was dropped after the last block.
    double silenceAtEnd() const { return _droppedSeconds.load(std::memory_order_acquire); }

    /// Any thread: all frames that were dropped so far, at the rates they came at.
    std::uint64_t framesDropped() const { return _framesDropped.load(std::memory_order_relaxed); }

  private:
    struct Header {
        double silenceSeconds;
        double sampleRate;
        std::uint32_t channels;
        std::uint32_t frames;
    };
    static constexpr std::size_t kHeaderWords = sizeof(Header) / sizeof(float);

    void drop(std::uint32_t frames, double sampleRate) noexcept;
    void put(std::uint64_t place, const void* from, std::size_t words) noexcept;
    void get(std::uint64_t place, void* to, std::size_t words) const;

    std::vector<float> _words;                         // what lies between read and write place is the reader's
    std::atomic<double> _droppedSeconds{0};            // since the last block; written by the writer
    std::atomic<std::uint64_t> _framesDropped{0};      // written by the writer
    alignas(64) std::atomic<std::uint64_t> _end{0};    // in words since the begin; written by the writer
    alignas(64) std::atomic<std::uint64_t> _begin{0};  // written by the reader
};

}  // namespace zelvane
