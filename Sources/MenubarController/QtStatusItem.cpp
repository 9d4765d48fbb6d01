// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MenubarController/QtStatusItem.h"

#include "Sources/MenubarController/StatusImages.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>

namespace zelvane {

// Names of instruments may hold an ampersand, which in Qt's texts marks a key.
void QtMenuItem::setTitle(const std::string& title) {
    const QString text = QString::fromStdString(title);
    _action.setProperty("title", text);
    _action.setText(QString(text).replace(QLatin1Char('&'), QStringLiteral("&&")));
}

QtStatusItem::QtStatusItem(QMenu& menu) : _menu(menu), _icon(statusImageNamed(_image)) {
    // A desktop that turns dark wants the other drawing.
    QGuiApplication::instance()->installEventFilter(this);
}

void QtStatusItem::setImage(StatusImage image) {
    _image = image;
    _icon = statusImageNamed(image);
    show();
}

void QtStatusItem::setToolTip(const QString& toolTip) {
    if (toolTip == _toolTip) return;
    _toolTip = toolTip;
    // Without the icon, which the desktop would fetch anew.
    if (_tray != nullptr) _tray->setToolTip(_toolTip);
    if (_changed) _changed();
}

// The desktop draws the menu, and opens it as it likes: what can be done is to have nothing to choose there.
void QtStatusItem::setEnabled(bool isEnabled) {
    _isEnabled = isEnabled;
    for (QAction* action : _menu.actions()) action->setEnabled(isEnabled);
}

void QtStatusItem::show() {
    if (_tray != nullptr) {
        _tray->setIcon(_icon);
        _tray->setToolTip(_toolTip);
    }
    if (_changed) _changed();
}

void QtStatusItem::showInTray() {
    _tray = std::make_unique<QSystemTrayIcon>();
    _tray->setContextMenu(&_menu);
    connect(_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) popUpMenu();
    });
    show();
    _tray->show();
}

void QtStatusItem::popUpMenu() {
    if (!_isEnabled) return;
    const QRect place = _tray != nullptr ? _tray->geometry() : QRect();
    _menu.popup(place.isValid() ? place.bottomLeft() : QCursor::pos());
    _menu.activateWindow();
}

bool QtStatusItem::eventFilter(QObject* watched, QEvent* event) {
    if (watched == QGuiApplication::instance() && event->type() == QEvent::ApplicationPaletteChange) setImage(_image);
    return false;
}

}  // namespace zelvane
