// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace zelvane {

/// Keeps a plug-in from running while something is done with it that must not happen at the same time. The audio thread
/// never waits at it; it goes without the block.
class RunGate {
  public:
    /// The audio thread, real-time safe. When true, `leave` has to follow.
    bool enter() noexcept {
        State open = State::open;
        return _state.compare_exchange_strong(open, State::running, std::memory_order_acquire);
    }
    void leave() noexcept { _state.store(State::open, std::memory_order_release); }

    /// Control threads, one at a time: waits until a block that runs is over. False when it isn't after `longest`.
    bool close(Duration longest) {
        const TimePoint end = Clock::monotonic().now() + longest;
        for (State open = State::open; !_state.compare_exchange_strong(open, State::closed, std::memory_order_acquire);
             open = State::open) {
            if (Clock::monotonic().now() > end) return false;
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        return true;
    }
    void open() noexcept { _state.store(State::open, std::memory_order_release); }

    /// Opens it again at the end of a scope, however that ends.
    struct Reopening {
        RunGate& gate;
        ~Reopening() { gate.open(); }
    };

  private:
    enum class State { open, running, closed };
    std::atomic<State> _state{State::open};  // written by the audio thread and by one control thread
};

}  // namespace zelvane
