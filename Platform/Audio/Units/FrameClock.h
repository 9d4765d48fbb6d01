// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <cstdint>

namespace zelvane {

/// Maps monotonic time to frames of the rendered stream. A device's cycle times jitter by the wake-ups of its thread; a
/// delay-locked loop of second order follows their mean. Audio thread only; real-time safe.
class FrameClock {
  public:
    /// Starts anew at that rate: the next cycle is taken as it comes.
    void reset(double sampleRate) noexcept;

    /// Takes in a cycle whose first frame was wanted at `start`. An exact start is taken as it is. After a jump, or
    /// when the times run away from the loop by more than it can mean, it starts anew.
    void update(TimePoint start, std::int64_t firstFrame, std::uint32_t frames, bool isExact, bool isJump) noexcept;

    /// The frame that is due at `time`, rounded to the nearest.
    std::int64_t frameAt(TimePoint time) const noexcept;

    double sampleRate() const noexcept { return _sampleRate; }

  private:
    void anchor(TimePoint start, std::int64_t firstFrame) noexcept;
    void moveTo(TimePoint start, std::int64_t firstFrame) noexcept;
    void follow(double error, std::uint32_t frames) noexcept;
    double bandwidth() const noexcept;

    double _sampleRate = 48000;
    double _framesPerNanosecond = 48000e-9;
    bool _isLocked = false;
    TimePoint _epoch{};      // times below count from here, so that doubles keep their precision
    double _anchorTime = 0;  // nanoseconds after the epoch at which the anchor frame was due
    std::int64_t _anchorFrame = 0;
    double _lockedSeconds = 0;  // since the last start
};

}  // namespace zelvane
