// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <cstdint>
#include <optional>

namespace zelvane {

/// When the server wanted a frame. Its requests come as bursts of its own making; what it tells of the time its sink
/// has played is smoothed already and wanders ten times less than the requests jitter. A frame's time is the time at
/// which it will be heard, less a constant lead, chosen so that frames are asked for at about their time, as other
/// devices do. Audio thread, real-time safe.
class PulseCycleClock {
  public:
    struct Request {
        TimePoint now;
        std::uint64_t framesBefore = 0;      ///< written to the stream so far
        std::uint32_t frames = 0;            ///< wanted now
        std::optional<Duration> playedTime;  ///< of the stream, if the server has told it yet
    };
    struct Answer {
        TimePoint start;  ///< of the request's first frame
        bool hasJumped = false;
    };

    PulseCycleClock(double sampleRate, std::uint32_t periodFrames)
        : _sampleRate(sampleRate), _periodFrames(periodFrames) {}

    Answer date(const Request& request) noexcept;
    /// The stream plays on another sink from now on.
    void forget() noexcept { _lead.reset(); }
    /// How long the longest lead counts; one that was longer before is given up then. A stream begins in bursts, so it
    /// is short at first and doubles up to the longest.
    static constexpr Duration kFirstMemory = std::chrono::milliseconds(500);
    static constexpr Duration kLongestMemory = std::chrono::seconds(10);

  private:
    bool adoptLead(TimePoint now, Duration lead) noexcept;
    Duration duration(double frames) const noexcept { return Duration(std::int64_t(frames * 1e9 / _sampleRate)); }

    const double _sampleRate;
    const std::uint32_t _periodFrames;
    std::optional<Duration> _lead;
    Duration _longestLately{};
    Duration _memory{};
    TimePoint _forgetsAt{};
};

}  // namespace zelvane
