// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <semaphore.h>

#include <cerrno>
#include <optional>

namespace zelvane {

/// Wakes one thread that waits for others. What they have for it goes another way, before the wake-up.
class WakeUp {
  public:
    WakeUp() { sem_init(&_semaphore, 0, 0); }
    ~WakeUp() { sem_destroy(&_semaphore); }
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Any thread, a signal handler too. Never waits; it is a system call when somebody sleeps.
    void post() noexcept { sem_post(&_semaphore); }

    /// Returns once it was posted since the last time, or after the time given. The waiting thread.
    void wait(std::optional<Duration> longest = {}) {
        if (longest) {
            waitUntil(Clock::monotonic().now() + *longest);
        } else {
            while (sem_wait(&_semaphore) != 0 && errno == EINTR) {
            }
        }
        while (sem_trywait(&_semaphore) == 0) {
        }
    }

  private:
    void waitUntil(TimePoint date) {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(date.time_since_epoch());
        const timespec end{static_cast<time_t>(seconds.count()),
                           static_cast<long>((date.time_since_epoch() - seconds).count())};
        while (sem_clockwait(&_semaphore, CLOCK_MONOTONIC, &end) != 0 && errno == EINTR) {
        }
    }

    sem_t _semaphore{};
};

}  // namespace zelvane
