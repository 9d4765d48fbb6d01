// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace zelvane {

/// The images of the status item, which bear these names.
enum class StatusImage { statusIsWaiting, statusIsRunning, statusIsRecording };

/// The player's place in the desktop's tray. Main thread.
class StatusItem {
  public:
    virtual ~StatusItem() = default;
    virtual StatusImage image() const = 0;
    virtual void setImage(StatusImage image) = 0;
    /// While it is not enabled its menu can't be opened.
    virtual void setEnabled(bool isEnabled) = 0;
};

/// An entry of the status item's menu. Main thread.
class MenuItem {
  public:
    virtual ~MenuItem() = default;
    virtual std::string title() const = 0;
    virtual void setTitle(const std::string& title) = 0;
};

}  // namespace zelvane
