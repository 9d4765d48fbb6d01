// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MenubarController/QtStatusItem.h"

#include <QMenu>
#include <memory>

namespace Ui {
class StatusMenu;
}

namespace zelvane {

class AppDelegate;

/// The status item and its menu. Main thread.
class MenubarController final {
  public:
    MenubarController();
    /// Removes the status item from the tray.
    ~MenubarController();
    MenubarController(const MenubarController&) = delete;
    MenubarController& operator=(const MenubarController&) = delete;

    /// Sets up the status item: its menu, its first image, enabled.
    void awakeFromNib();
    /// The menu's actions are the delegate's; it outlives this.
    void setDelegate(AppDelegate& delegate);

    QtStatusItem& statusItem() { return *_statusItem; }
    QMenu& statusMenu() { return _statusMenu; }
    MenuItem& startMenuItem() { return *_startMenuItem; }
    MenuItem& startRecordingMenuItem() { return *_startRecordingMenuItem; }
    MenuItem& deviceSettingsMenuItem() { return *_deviceSettingsMenuItem; }

  private:
    QMenu _statusMenu;
    std::unique_ptr<Ui::StatusMenu> _interface;
    std::unique_ptr<QtStatusItem> _statusItem;
    std::unique_ptr<QtMenuItem> _startMenuItem, _startRecordingMenuItem, _deviceSettingsMenuItem;
};

}  // namespace zelvane
