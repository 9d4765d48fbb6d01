// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <cstdint>
#include <optional>

namespace zelvane {

/// Tells in the log of events that were lost: at once, and then once a second while it goes on. Used by one thread.
class AlsaLossReport {
  public:
    /// The kernel's room for our events ran over.
    void count(TimePoint now);
    /// Whether something is to be told later.
    bool isDue() const { return _untold > 0; }
    /// Tells what is left, once its time has come.
    void tell(TimePoint now, bool atOnce);

  private:
    std::uint64_t _untold = 0;
    std::optional<TimePoint> _lastTold;
};

}  // namespace zelvane
