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
    /// Frames that the server has left out between two places of what was captured: on a machine that is held up it
    /// runs late, and what sounds in its time is shorter by them.
    std::size_t skippedBetween(std::size_t first, std::size_t last) const;
    /// The longest piece between two places in which the server left out nothing.
    std::span<const float> longestWhole(std::size_t first, std::size_t last) const;
    /// Whether anything but silence came after that many samples.
    bool hasSoundAfter(std::size_t first) const;

  private:
    struct Skip {
        std::size_t position;
        std::size_t frames;
    };

    static int process(jack_nframes_t frames, void* self);
    void note(Skip skip);
    std::span<const Skip> skips() const { return {_skips.data(), _skipCount.load(std::memory_order_acquire)}; }

    std::vector<float> _samples;
    std::atomic<std::size_t> _count{0};  // written by JACK's thread, read by the test
    std::vector<Skip> _skips;
    std::atomic<std::size_t> _skipCount{0};  // likewise
    jack_nframes_t _nextFrame = 0;           // JACK's thread
    jack_client_t* const _client;
    jack_port_t* _port = nullptr;
};

}  // namespace zelvane
