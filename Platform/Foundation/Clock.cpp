// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Clock.h"

#include <algorithm>
#include <cmath>

namespace zelvane {

namespace {

class MonotonicClock final : public Clock {
  public:
    TimePoint now() const override { return std::chrono::steady_clock::now(); }

    void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
              std::optional<TimePoint> date) override {
        if (date) {
            condition.wait_until(lock, *date);
        } else {
            condition.wait(lock);
        }
    }
};

}  // namespace

Duration secondsToDuration(double seconds) {
    constexpr double kHundredYears = 100.0 * 365.25 * 86400.0;
    if (std::isnan(seconds)) return Duration::zero();
    return Duration(std::llround(std::clamp(seconds, -kHundredYears, kHundredYears) * 1e9));
}

TimePoint movedBy(TimePoint date, Duration span) {
    Duration::rep moved = 0;
    if (__builtin_add_overflow(date.time_since_epoch().count(), span.count(), &moved)) {
        return span > Duration::zero() ? TimePoint::max() : TimePoint::min();
    }
    return TimePoint(Duration(moved));
}

Clock& Clock::monotonic() {
    static MonotonicClock clock;
    return clock;
}

}  // namespace zelvane
