// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <optional>

namespace zelvane {

/// Another event loop that lives on the thread of a run loop: a desktop toolkit's. Where the run loop would wait, its
/// guest serves events of its own instead.
class EventLoopGuest {
  public:
    virtual ~EventLoopGuest() = default;

    /// The run loop has something to do, or has ended: `serveUntil` is to return. Any thread; it must not call the run
    /// loop.
    virtual void wakeUp() = 0;

    /// Serves events until the date, or until it is woken up. The run loop's thread.
    virtual void serveUntil(std::optional<TimePoint> date) = 0;

    /// Serves the events that wait already. The run loop's thread.
    virtual void serveWaiting() = 0;
};

}  // namespace zelvane
