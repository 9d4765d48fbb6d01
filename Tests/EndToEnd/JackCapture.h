// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <jack/jack.h>

#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

namespace zelvane {

/// A JACK client that listens to the player's left output.
class JackCapture {
  public:
    /// With room for that much sound.
    explicit JackCapture(double seconds);
    ~JackCapture();
    JackCapture(const JackCapture&) = delete;
    JackCapture& operator=(const JackCapture&) = delete;

    bool isOpen() const { return _client != nullptr; }
    /// Connects to the player's port; false while there is none.
    bool connect();
    double sampleRate() const { return jack_get_sample_rate(_client); }
    /// What came so far.
    std::span<const float> captured() const { return {_samples.data(), _count.load(std::memory_order_acquire)}; }
    std::size_t count() const { return _count.load(std::memory_order_acquire); }
    /// The longest piece between two places in which the server left out nothing.
    std::span<const float> longestWhole(std::size_t first, std::size_t last) const;
    /// Whether anything but silence came after that many samples.
    bool hasSoundAfter(std::size_t first) const;

  private:
    static int process(jack_nframes_t frames, void* self);
    void noteGap(std::size_t position);
    std::span<const std::size_t> gaps() const { return {_gaps.data(), _gapCount.load(std::memory_order_acquire)}; }

    std::vector<float> _samples;
    std::atomic<std::size_t> _count{0};     // written by JACK's thread, read by the test
    std::vector<std::size_t> _gaps;         // where the server left out frames
    std::atomic<std::size_t> _gapCount{0};  // likewise
    jack_nframes_t _nextFrame = 0;          // JACK's thread
    jack_client_t* const _client;
    jack_port_t* _port = nullptr;
};

}  // namespace zelvane
