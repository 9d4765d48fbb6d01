// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <thread>

namespace zelvane {

/// Takes SIGINT, SIGTERM and SIGHUP on a thread of its own and calls the handler there. Made before any other thread,
/// so that all inherit the blocked signals.
class TerminationSignals {
  public:
    explicit TerminationSignals(std::function<void()> handler);
    ~TerminationSignals();

  private:
    std::jthread _thread;
};

}  // namespace zelvane
