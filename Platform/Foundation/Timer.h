// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace zelvane {

class Timer;

/// Where a timer waits for its date.
class TimerHolder {
  public:
    virtual ~TimerHolder() = default;
    /// Gives up a timer that will not fire any more. Any thread.
    virtual void withdraw(Timer& timer) = 0;
};

/// An action with a fire date that is fixed when the timer is made. It fires only once a run loop has been given it
/// (`RunLoop::add`), which may be long after its date, or never. May be handed between threads; its action runs on the
/// thread of the run loop that has it.
class Timer {
  public:
    using Action = std::function<void(Timer&)>;

    /// Fires once, `interval` after now (the event time inside a run loop's callback). Negative intervals are due at
    /// once.
    static std::shared_ptr<Timer> after(Duration interval, Action action);

    /// Fires again and again, first `interval` after now; intervals below 0.1 ms count as that. Missed dates are
    /// skipped.
    static std::shared_ptr<Timer> every(Duration interval, Action action);

    Timer(TimePoint fireDate, Duration repeatInterval, Action action);
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Next date at which the timer is due. Thread of its run loop.
    TimePoint fireDate() const { return _fireDate; }

    /// False once it was invalidated, or has fired and does not repeat. Any thread.
    bool isValid() const { return _isValid.load(std::memory_order_acquire); }

    /// The timer will not fire any more, and its run loop forgets it. Any thread; does not wait for an action that is
    /// running.
    void invalidate();

  private:
    friend class RunLoop;

    bool claim(std::weak_ptr<TimerHolder> holder);
    bool mayFire();
    bool reschedule(TimePoint now);
    void letGo();

    TimePoint _fireDate;
    const std::uint64_t _sequence;
    const Duration _repeatInterval;
    Action _action;
    std::atomic<bool> _isValid{true};
    std::atomic<bool> _isScheduled{false};
    std::mutex _mutex;
    std::weak_ptr<TimerHolder> _holder;  // guarded by _mutex
};

}  // namespace zelvane
