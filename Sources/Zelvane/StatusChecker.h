// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

/// Told of everything that arrives, so that an armed recording starts with the first note.
class StatusChecker {
  public:
    virtual ~StatusChecker() = default;
    /// Main thread.
    virtual void checkStatus() = 0;
};

}  // namespace zelvane
