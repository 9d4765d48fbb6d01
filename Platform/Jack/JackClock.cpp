// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackClock.h"

#include <chrono>

namespace zelvane {

void JackClock::measure(const JackLibrary& library) {
    constexpr int kTries = 8;
    constexpr Duration kCutting = std::chrono::nanoseconds(500);  // half the microsecond to which JACK's time is cut
    Duration narrowest = Duration::max();
    Duration offset{};
    for (int i = 0; i < kTries; ++i) {
        const TimePoint before = Clock::monotonic().now();
        const std::chrono::microseconds jackTime(library.time());
        const TimePoint after = Clock::monotonic().now();
        if (after - before >= narrowest) continue;
        narrowest = after - before;
        offset = before.time_since_epoch() + narrowest / 2 - jackTime - kCutting;
    }
    // Mostly it is the same clock; then what was measured is only how well one can measure.
    const bool isSameClock = std::chrono::abs(offset) <= narrowest / 2 + kCutting;
    _offset.store(isSameClock ? 0 : offset.count(), std::memory_order_relaxed);
}

TimePoint JackClock::timePoint(jack_time_t microseconds) const noexcept {
    const std::chrono::microseconds jackTime(microseconds);
    return TimePoint(jackTime + Duration(_offset.load(std::memory_order_relaxed)));
}

}  // namespace zelvane
