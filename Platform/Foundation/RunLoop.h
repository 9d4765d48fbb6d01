// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/Timer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace zelvane {

class EventLoopGuest;

/// The queue of work of one thread. Every piece of work has an event time: a timer's fire date, a delayed perform's due
/// date, a packet's arrival. Work runs strictly in the order of those times, then of its creation, and while it runs,
/// `now()` is its event time: lateness of a wake-up never adds up.
class RunLoop {
  public:
    using Work = std::function<void()>;
    enum class Wait { no, yes };

    explicit RunLoop(Clock& clock = Clock::monotonic());
    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// The loop whose pass is running on this thread, else the one attached to it, else null.
    static RunLoop* current();

    /// Makes this the loop of the calling thread, which from then on may wait in `perform` without blocking those that
    /// wait for it in turn.
    void attachToCurrentThread();

    /// Logical time: the event time of the callback that runs on this thread, else its loop's clock, else the monotonic
    /// clock. Real-time safe.
    static TimePoint now();

    /// Schedules the timer. Does nothing for one that is already scheduled, has fired or is invalid. Any thread.
    void add(std::shared_ptr<Timer> timer);

    /// Runs `work` on this loop's thread, with `now()` of the caller as its event time. With `Wait::yes` it returns
    /// after the work ran; at once on the loop's own thread. While it waits, the caller's own loop serves what others
    /// wait for, so two loops may wait for each other. Returns false, without running it, when the loop has ended. Any
    /// thread.
    bool perform(Work work, Wait wait = Wait::no);

    /// Runs `work` with the event time given: as soon as possible for what has happened at a known time, else when that
    /// time comes. Any thread.
    bool performAt(TimePoint eventTime, Work work);

    /// Runs `work` when `delay` has passed since `now()`; negative delays count as none. Any thread.
    bool performAfter(Duration delay, Work work);

    /// Has another event loop served on this thread while this one would wait, and for a moment every few milliseconds
    /// while it has enough to do; null ends that. This loop's thread.
    void setGuest(EventLoopGuest* guest);

    /// When there is something to do next, if ever. Any thread.
    std::optional<TimePoint> nextDate() const;

    /// One pass: waits for the first work that is due and runs it. False when `limit` came first or the loop has ended.
    /// A pass that its guest made meanwhile counts.
    bool runOnce(std::optional<TimePoint> limit = std::nullopt);

    /// Passes until `end` is called.
    void run();

    /// Ends the loop: `run` returns after the current pass, waiters are released, further performs are refused. Work
    /// that has not run yet is dropped with the loop. Any thread.
    void end();

    bool hasEnded() const;

  private:
    struct State;
    struct Frame;
    struct Attachment;
    std::shared_ptr<State> _state;
};

}  // namespace zelvane
