// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/XServer.h"

#include <string>

namespace zelvane {

/// A user's hands: opens windows of the player from its small one, moves them about and closes them.
class OpenedWindows {
  public:
    explicit OpenedWindows(const XServer& display) : _display(display) {}

    bool isShown(const std::string& title) const;
    /// Presses keys in the small window until a window of that title (a regular expression) is there.
    void open(const std::string& keys, const std::string& title) const;
    void move(const std::string& title) const;
    /// Presses keys in the window until it is gone.
    void close(const std::string& keys, const std::string& title) const;

  private:
    const XServer& _display;
};

}  // namespace zelvane
