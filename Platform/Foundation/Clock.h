// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>

namespace zelvane {

using Duration = std::chrono::nanoseconds;

/// A point of monotonic time. All event times in the program are of this type.
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

/// A span of seconds as a duration, rounded to the nanosecond; spans beyond ±100 years are held to that range, NaN is
/// none at all. Real-time safe.
Duration secondsToDuration(double seconds);

/// `date` moved by `span`; stops at the ends of time instead of wrapping around. Real-time safe.
TimePoint movedBy(TimePoint date, Duration span);

/// Where time comes from: the monotonic clock, or a clock driven by a test.
class Clock {
  public:
    virtual ~Clock() = default;

    /// Any thread, real-time safe.
    virtual TimePoint now() const = 0;

    /// Waits on `condition` until it is notified, or until `date` where one is given. May wake early.
    virtual void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                      std::optional<TimePoint> date) = 0;

    /// The machine's monotonic clock.
    static Clock& monotonic();
};

}  // namespace zelvane
