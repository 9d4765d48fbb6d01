// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <atomic>

namespace zelvane {

/// Notices a server that keeps its connection but has stopped asking for sound, as a frozen one does.
class CycleWatchdog {
  public:
    explicit CycleWatchdog(Duration patience) : _patience(patience) {}

    /// Before the first cycle. Starting thread.
    void start(TimePoint now) { _latest.store(now, std::memory_order_relaxed); }
    /// Audio thread, real-time safe.
    void cycleCame(TimePoint now) noexcept { _latest.store(now, std::memory_order_relaxed); }
    /// Any thread.
    bool isOverdue(TimePoint now) const { return now - _latest.load(std::memory_order_relaxed) > _patience; }

  private:
    const Duration _patience;
    std::atomic<TimePoint> _latest{};  // written by the audio thread, read by whoever asks for the state
};

}  // namespace zelvane
