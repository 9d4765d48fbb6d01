// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/PlaceholderColor.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>

namespace zelvane {

PlaceholderColor::PlaceholderColor(QObject& application) {
    application.installEventFilter(this);
    follow();
}

bool PlaceholderColor::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange) follow();
    return QObject::eventFilter(watched, event);
}

void PlaceholderColor::follow() {
    const QPalette present = QGuiApplication::palette();
    QColor color = present.color(QPalette::Text);
    color.setAlphaF(0.5F);
    if (present.color(QPalette::PlaceholderText) == color) return;
    QPalette ours;  // which sets no other color, so that those go on following the desktop's
    ours.setColor(QPalette::PlaceholderText, color);
    QGuiApplication::setPalette(ours);
}

}  // namespace zelvane
