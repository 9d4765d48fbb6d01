// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/RunLoop.h"

#include <atomic>

namespace zelvane {

/// A clock that a test moves by hand. A loop that waits for a date moves it there at once, so that hours of work run in
/// no time; one that waits for nothing but other threads waits for them in earnest. Any thread.
class DrivenClock final : public Clock {
  public:
    static constexpr TimePoint kStart{std::chrono::hours(1)};

    TimePoint now() const override { return TimePoint(Duration(_now.load())); }

    void advance(Duration span) { _now += span.count(); }

    void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
              std::optional<TimePoint> date) override {
        if (date) {
            moveTo(*date);
        } else {
            condition.wait(lock);
        }
    }

  private:
    /// Time never goes back, not even when two loops share the clock.
    void moveTo(TimePoint date) {
        const Duration::rep target = date.time_since_epoch().count();
        Duration::rep present = _now.load();
        while (present < target && !_now.compare_exchange_weak(present, target)) {
        }
    }

    std::atomic<Duration::rep> _now{kStart.time_since_epoch().count()};
};

/// Runs what falls due up to a date, as if the thread slept in between.
inline void runUntil(RunLoop& loop, TimePoint date) {
    while (loop.runOnce(date)) {
    }
}

}  // namespace zelvane
