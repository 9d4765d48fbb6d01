// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/Display.h"

#include <xcb/xcb.h>

#include <QDir>
#include <QFileInfo>
#include <QLibraryInfo>

namespace zelvane {

namespace {

bool isXReachable() {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) return false;
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool isReachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return isReachable;
}

/// The plug-in is a package of its own, which may not be installed.
bool isWaylandReachable() {
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) return false;
    const QDir runtimeFolder(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    const QDir plugins(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms"));
    return QFileInfo::exists(runtimeFolder.filePath(qEnvironmentVariable("WAYLAND_DISPLAY"))) &&
           !plugins.entryList({QStringLiteral("libqwayland-*.so")}).isEmpty();
}

}  // namespace

bool chooseDisplay() {
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return true;
    if (isXReachable()) return qputenv("QT_QPA_PLATFORM", "xcb");
    return isWaylandReachable() && qputenv("QT_QPA_PLATFORM", "wayland");
}

}  // namespace zelvane
