// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Jack/JackClock.h"

#include <limits>

namespace zelvane {

void JackClock::measure(const JackLibrary& library) {
    constexpr int kTries = 8;
    Duration narrowest = Duration::max();
    Duration offset{};
    for (int i = 0; i < kTries; ++i) {
        const TimePoint before = Clock::monotonic().now();
        const std::chrono::microseconds jackTime(library.time());
        const TimePoint after = Clock::monotonic().now();
        if (after - before >= narrowest) continue;
        narrowest = after - before;
        // JACK's time is cut to whole microseconds, half of one on average.
        offset = before.time_since_epoch() + narrowest / 2 - jackTime - std::chrono::nanoseconds(500);
    }
    _offset.store(offset.count(), std::memory_order_relaxed);
}

TimePoint JackClock::timePoint(jack_time_t microseconds) const noexcept {
    const std::chrono::microseconds jackTime(microseconds);
    return TimePoint(jackTime + Duration(_offset.load(std::memory_order_relaxed)));
}

}  // namespace zelvane
