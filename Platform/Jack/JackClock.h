// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Jack/JackLibrary.h"

#include <atomic>

namespace zelvane {

/// Turns the time of JACK, which may count on another clock of the kernel's that drifts against ours by some
/// millionths, into monotonic time.
class JackClock {
  public:
    /// Compares the two clocks. To be repeated about every second, by one thread that is not the audio thread.
    void measure(const JackLibrary& library);
    /// Any thread, real-time safe.
    TimePoint timePoint(jack_time_t microseconds) const noexcept;

  private:
    std::atomic<std::int64_t> _offset{0};  // nanoseconds; written by the measuring thread, read by the audio thread
};

}  // namespace zelvane
