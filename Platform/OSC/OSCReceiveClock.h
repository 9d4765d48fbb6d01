// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <optional>

namespace zelvane {

/// The monotonic and the wall clock at one moment.
struct OSCClockReading {
    TimePoint monotonic;
    Duration wall{};

    /// As close together as the machine allows. Any thread.
    static OSCClockReading take();
};

/// Turns the times at which the kernel received packets, which are wall-clock times, into event times. These never lie
/// in the future, nor more than a second in the past, and never go back. Used by one thread.
class OSCReceiveClock {
  public:
    explicit OSCReceiveClock(const OSCClockReading& reading) : _reading(reading), _beforeSetting(reading) {}

    /// Tells what the clocks show now: once for each batch of packets, right after they were taken.
    void update(const OSCClockReading& reading);

    /// The event time of the next packet of the batch; without a kernel time it is the moment of the reading.
    TimePoint eventTime(std::optional<Duration> wallTime);

  private:
    OSCClockReading _reading;
    OSCClockReading _beforeSetting;
    TimePoint _last = TimePoint::min();
};

}  // namespace zelvane
