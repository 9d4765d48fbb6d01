// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"
#include "Platform/Foundation/Timer.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

namespace zelvane {

/// Numbers timers and performs in the order in which they are made. Any thread.
std::uint64_t nextSequence();

/// Where a thread sleeps until something it waits for has happened.
struct Signal {
    std::mutex mutex;
    std::condition_variable condition;
};

/// A perform whose caller waits. The caller stays until the outcome is known, so the work may lie on its stack; the
/// signal may be needed by the other thread for a moment longer, hence shared.
struct WaitingPerform {
    enum class Outcome { pending, done, refused };

    const std::function<void()>& work;
    const std::shared_ptr<Signal> signal;
    Outcome outcome = Outcome::pending;  // guarded by signal->mutex

    /// Tells the caller, who may be gone with this object right after. Any thread, without locks held.
    void finish(Outcome result);
};

/// The work of a run loop in the order of its event times, then of its creation. Not synchronized.
class WorkQueue {
  public:
    using Work = std::variant<std::function<void()>, std::shared_ptr<Timer>, WaitingPerform*>;

    struct Key {
        TimePoint date;
        std::uint64_t sequence = 0;
        auto operator<=>(const Key&) const = default;
    };

    using Map = std::map<Key, Work>;
    using Item = Map::node_type;

    /// Adds work; true when it is the first now.
    bool push(Key key, Work work);
    std::optional<TimePoint> firstDate() const;

    /// Takes the first work; the queue may not be empty.
    Item popFirst();
    /// Takes the first work that another thread waits for, if any.
    Item popFirstWaiting();

    /// Takes that work, if it is there and nobody waits for it.
    Item take(Key key) { return _ordinary.extract(key); }

    bool hasWaiting() const { return !_waiting.empty(); }

    void swap(WorkQueue& other) noexcept;

  private:
    Map& firstMap();

    // Kept apart so that a thread that waits itself finds what others wait for without passing over the rest.
    Map _ordinary;
    Map _waiting;
};

}  // namespace zelvane
