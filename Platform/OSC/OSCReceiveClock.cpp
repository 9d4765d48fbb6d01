// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCReceiveClock.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr Duration kOldest = std::chrono::seconds(1);
constexpr Duration kWorthKeeping = std::chrono::milliseconds(1);

}  // namespace

OSCClockReading OSCClockReading::take() {
    OSCClockReading best;
    auto smallestGap = Duration::max();
    // An interruption between the two clocks would shift every time of the batch: a second look is cheap.
    for (int attempt = 0; attempt < 4 && smallestGap > std::chrono::microseconds(2); ++attempt) {
        const TimePoint before = Clock::monotonic().now();
        const Duration wall = std::chrono::system_clock::now().time_since_epoch();
        const Duration gap = Clock::monotonic().now() - before;
        if (gap < smallestGap) {
            smallestGap = gap;
            best = {before + gap / 2, wall};
        }
    }
    return best;
}

void OSCReceiveClock::update(const OSCClockReading& reading) {
    const Duration set = (reading.wall - _reading.wall) - (reading.monotonic - _reading.monotonic);
    if (std::chrono::abs(set) > kWorthKeeping) _beforeSetting = _reading;
    _reading = reading;
}

TimePoint OSCReceiveClock::eventTime(std::optional<Duration> wallTime) {
    const TimePoint now = _reading.monotonic;
    const auto isPlausible = [now](TimePoint time) { return time >= now - kOldest && time <= now; };
    const auto byReading = [&](const OSCClockReading& reading) {
        return reading.monotonic + (wallTime.value_or(_reading.wall) - reading.wall);
    };
    TimePoint time = byReading(_reading);
    // Somebody may have set the wall clock after the packet came; what the clocks showed before then tells the truth.
    if (!isPlausible(time) && isPlausible(byReading(_beforeSetting))) time = byReading(_beforeSetting);
    // Packets of two batches, read against two readings, may seem to overtake each other by nanoseconds.
    _last = std::max(_last, std::clamp(time, now - kOldest, now));
    return _last;
}

}  // namespace zelvane
