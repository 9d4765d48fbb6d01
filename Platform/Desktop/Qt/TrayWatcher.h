// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

namespace zelvane {

/// Looks for the desktop's tray, which may come up after the player: by D-Bus, or by the display's selection where only
/// the older kind exists. Qt asks for it once in a program's life, so no icon may be made before one is there. Main
/// thread.
class TrayWatcher final : public QObject {
    Q_OBJECT

  public:
    /// `found` is called once, when there is a tray; `missed` once, when there was none for that long. A tray that
    /// comes later is still found.
    TrayWatcher(std::chrono::milliseconds patience, std::function<void()> found, std::function<void()> missed);

  private:
    Q_SLOT void askBus();
    bool watchBus();
    void askDisplay();
    void tellFound();

    std::function<void()> _found, _missed;
    QTimer _displayTimer;
    bool _isFound = false;
};

}  // namespace zelvane
