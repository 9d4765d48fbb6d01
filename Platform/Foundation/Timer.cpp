// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Timer.h"

#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/WorkQueue.h"

#include <algorithm>
#include <utility>

namespace zelvane {

namespace {

constexpr Duration kShortestInterval = std::chrono::microseconds(100);

Duration heldRepeatInterval(Duration interval) {
    return interval == Duration::zero() ? interval : std::max(interval, kShortestInterval);
}

}  // namespace

std::shared_ptr<Timer> Timer::after(Duration interval, Action action) {
    return std::make_shared<Timer>(movedBy(RunLoop::now(), std::max(interval, Duration::zero())), Duration::zero(),
                                   std::move(action));
}

std::shared_ptr<Timer> Timer::every(Duration interval, Action action) {
    const Duration held = std::max(interval, kShortestInterval);
    return std::make_shared<Timer>(movedBy(RunLoop::now(), held), held, std::move(action));
}

Timer::Timer(TimePoint fireDate, Duration repeatInterval, Action action)
    : _fireDate(fireDate),
      _sequence(nextSequence()),
      _repeatInterval(heldRepeatInterval(repeatInterval)),
      _action(std::move(action)) {}

// One that repeats moves its date, and its loop finds it soon enough; a single one may wait for weeks.
void Timer::invalidate() {
    _isValid.store(false, std::memory_order_release);
    if (_repeatInterval > Duration::zero()) return;
    std::unique_lock lock(_mutex);
    const auto holder = std::exchange(_holder, {}).lock();
    lock.unlock();
    if (holder != nullptr) holder->withdraw(*this);
}

bool Timer::claim(std::weak_ptr<TimerHolder> holder) {
    if (!isValid() || _isScheduled.exchange(true)) return false;
    const std::lock_guard lock(_mutex);
    _holder = std::move(holder);
    return true;
}

bool Timer::mayFire() {
    return _repeatInterval > Duration::zero() ? isValid() : _isValid.exchange(false);
}

// An action may hold what holds this timer.
void Timer::letGo() {
    Action().swap(_action);
}

/// Moves the date past `now`. False when the timer is done, and then what its action holds is let go.
bool Timer::reschedule(TimePoint now) {
    if (!isValid()) {
        letGo();
        return false;
    }
    const auto missed = std::max(Duration::zero(), now - _fireDate) / _repeatInterval;
    _fireDate = movedBy(_fireDate, _repeatInterval * (missed + 1));
    return true;
}

}  // namespace zelvane
