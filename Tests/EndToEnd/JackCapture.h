// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

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
    /// The longest piece between two places in which the server left out nothing, neither frames nor time.
    std::span<const float> longestWhole(std::size_t first, std::size_t last) const;
    /// How often the server left something out between two places.
    std::size_t gapCount(std::size_t first, std::size_t last) const;
    /// Where the server has that moment in what came: a sample's place with its fraction. It may lie beyond the last
    /// one.
    double placeOf(TimePoint time) const;
    /// The same for a moment of JACK's own clock, in microseconds.
    double placeOfMoment(double moment) const;
    /// How old the server says that what is captured is, in frames.
    jack_latency_range_t toldAge() const;
    /// Whether anything but silence came after that many samples.
    bool hasSoundAfter(std::size_t first) const;

  private:
    /// A cycle as the server timed it.
    struct Cycle {
        std::size_t position = 0;  ///< samples that came before
        jack_nframes_t frames = 0;
        jack_nframes_t frame = 0;
        jack_time_t start = 0;
        jack_time_t end = 0;

        bool isFollowedBy(const Cycle& next) const;
    };

    /// Both clocks at one moment.
    struct ClockPair {
        TimePoint monotonic;
        jack_time_t jack = 0;

        static ClockPair read();
    };

    static int process(jack_nframes_t frames, void* self);
    double momentOf(TimePoint time) const;
    void noteCycle(const Cycle& cycle);
    void noteGap(std::size_t position);
    std::span<const Cycle> cycles() const { return {_cycles.data(), _cycleCount.load(std::memory_order_acquire)}; }
    std::span<const std::size_t> gaps() const { return {_gaps.data(), _gapCount.load(std::memory_order_acquire)}; }

    std::vector<float> _samples;
    std::atomic<std::size_t> _count{0};     // written by JACK's thread, read by the test
    std::vector<std::size_t> _gaps;         // where the server left out frames
    std::atomic<std::size_t> _gapCount{0};  // likewise
    std::vector<Cycle> _cycles;
    std::atomic<std::size_t> _cycleCount{0};  // likewise
    jack_client_t* const _client;
    const ClockPair _opened = ClockPair::read();
    jack_port_t* _port = nullptr;
};

}  // namespace zelvane
