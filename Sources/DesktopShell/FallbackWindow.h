// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MenubarController/QtStatusItem.h"

#include <QLabel>
#include <QWidget>

namespace zelvane {

/// The status item's stand-in where the desktop has no tray: the same state and menu in a small window. Main thread.
class FallbackWindow final : public QWidget {
  public:
    FallbackWindow(QtStatusItem& statusItem, const QMenu& menu);

    /// Shows what the status item shows now.
    void update();
    void bringUp();

  private:
    void growToText();

    QtStatusItem& _statusItem;
    QLabel* _image;
    QLabel* _state;
};

}  // namespace zelvane
