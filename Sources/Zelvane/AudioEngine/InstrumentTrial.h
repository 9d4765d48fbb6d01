// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/LoadingMark.h"
#include "Platform/Foundation/RunLoop.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The first seconds of an instrument that was chosen, in which it may bring the player down: while they last a mark on
/// disk tells the next start of it. Main thread, but for `keepMark`.
class InstrumentTrial {
  public:
    /// How many blocks each unit has rendered so far.
    using BlockCounts = std::function<std::vector<std::uint64_t>()>;

    explicit InstrumentTrial(std::filesystem::path markFile) : _mark(std::move(markFile)) {}
    ~InstrumentTrial();

    std::optional<std::string> takeInstrumentOfDeadRun() { return _mark.takeLeft(); }

    void begin(const std::string& instrument);
    /// Ends the trial once all units have rendered in each of two seconds.
    void watch(RunLoop& runLoop, BlockCounts counts);
    void end();

    /// The instrument could not be loaded: the mark stays when this run ends. Any thread.
    void keepMark() { _hasFailed = true; }

  private:
    LoadingMark _mark;
    std::shared_ptr<Timer> _watch;
    std::atomic<bool> _hasFailed{false};  // written by any thread, read by the main thread
};

}  // namespace zelvane
