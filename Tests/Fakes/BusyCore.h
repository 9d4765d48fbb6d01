// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sched.h>

#include <atomic>
#include <thread>

namespace zelvane {

/// Another process's worth of work on the first core, while it lives.
class BusyCore {
  public:
    BusyCore()
        : _thread([this] {
              cpu_set_t first;
              CPU_ZERO(&first);
              CPU_SET(0, &first);
              sched_setaffinity(0, sizeof first, &first);
              while (!_isDone.load(std::memory_order_relaxed)) {
              }
          }) {}
    ~BusyCore() { _isDone = true; }

  private:
    std::atomic<bool> _isDone{false};
    std::jthread _thread;
};

}  // namespace zelvane
