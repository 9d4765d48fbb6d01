// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MenubarController/StatusImages.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QSvgRenderer>

namespace zelvane {

namespace {

// What trays and windows ask for, at scales of 1 and 2.
constexpr int kSizes[] = {16, 22, 24, 32, 44, 48, 64};

QString fileName(StatusImage image) {
    switch (image) {
        case StatusImage::statusIsWaiting:
            return QStringLiteral("statusIsWaiting");
        case StatusImage::statusIsRunning:
            return QStringLiteral("statusIsRunning");
        case StatusImage::statusIsRecording:
            return QStringLiteral("statusIsRecording");
    }
    return {};
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QPixmap drawn(QSvgRenderer& drawing, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawing.render(&painter);
    return pixmap;
}

}  // namespace

// Drawn here, so that no plug-in for images has to be installed.
QIcon statusImageNamed(StatusImage image) {
    const QString shade = isDark(QGuiApplication::palette()) ? QStringLiteral("dark") : QStringLiteral("light");
    QSvgRenderer drawing(QStringLiteral(":/Zelvane/%1-%2.svg").arg(fileName(image), shade));
    QIcon icon;
    for (const int size : kSizes) icon.addPixmap(drawn(drawing, size));
    return icon;
}

}  // namespace zelvane
