// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaClock.h"

#include <algorithm>

namespace zelvane {

void AlsaClock::update(TimePoint now, std::optional<Duration> queueTime) {
    _now = now;
    _queueTime = queueTime;
}

// The queue's clock is moved on by a timer's interrupts, so that events on either side of a late one may seem to come
// in the wrong order.
TimePoint AlsaClock::eventTime(std::optional<Duration> queueTime) {
    constexpr Duration kOldest = std::chrono::seconds(1);
    Duration age{};
    if (_queueTime && queueTime) age = std::clamp(*_queueTime - *queueTime, Duration::zero(), kOldest);
    _last = std::max(_last, _now - age);
    return _last;
}

}  // namespace zelvane
