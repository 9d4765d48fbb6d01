// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <optional>

namespace zelvane {

/// Turns the times that the sequencer's queue gave to events into times of the monotonic clock. These never lie in the
/// future, nor more than a second in the past, and never go back. Used by one thread.
class AlsaClock {
  public:
    /// What both clocks show at one moment: once for each batch of events, after it was taken. No queue time where
    /// there is no queue.
    void update(TimePoint now, std::optional<Duration> queueTime);

    /// When an event of the batch came; without a queue time that is the moment of the last reading.
    TimePoint eventTime(std::optional<Duration> queueTime);

  private:
    TimePoint _now;
    std::optional<Duration> _queueTime;
    TimePoint _last = TimePoint::min();
};

}  // namespace zelvane
