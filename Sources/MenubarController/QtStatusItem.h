// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Desktop/Qt/TrayWatcher.h"
#include "Sources/StatusItem.h"

#include <QAction>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <string>

namespace zelvane {

/// An entry of the menu, which Qt shows.
class QtMenuItem final : public MenuItem {
  public:
    explicit QtMenuItem(QAction& action) : _action(action) {}
    std::string title() const override { return _action.property("title").toString().toStdString(); }
    void setTitle(const std::string& title) override;

  private:
    QAction& _action;
};

/// The status item in the desktop's tray, once there is one; until then its image and tooltip are only kept. Main
/// thread.
class QtStatusItem final : public QObject, public StatusItem {
  public:
    explicit QtStatusItem(QMenu& menu);

    StatusImage image() const override { return _image; }
    void setImage(StatusImage image) override;
    void setEnabled(bool isEnabled) override;
    bool isEnabled() const { return _isEnabled; }
    /// The state in words.
    void setToolTip(const QString& toolTip);

    QIcon icon() const { return _icon; }
    QString toolTip() const { return _toolTip; }
    bool isInTray() const { return _tray != nullptr; }
    /// Shows it in the tray that was found.
    void showInTray();
    void popUpMenu();

    /// Called when image or tooltip are other ones than before.
    void setChangeHandler(std::function<void()> handler) { _changed = std::move(handler); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void show();

    QMenu& _menu;
    StatusImage _image = StatusImage::statusIsWaiting;
    QIcon _icon;
    QString _toolTip;
    bool _isEnabled = true;
    std::unique_ptr<QSystemTrayIcon> _tray;
    std::function<void()> _changed;
};

}  // namespace zelvane
