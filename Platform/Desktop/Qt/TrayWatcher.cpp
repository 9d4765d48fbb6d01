// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Qt/TrayWatcher.h"

#include <xcb/xcb.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <utility>

namespace zelvane {

namespace {

constexpr std::chrono::milliseconds kDisplayInterval(250);

QString watcherName() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

QString watcherPath() {
    return QStringLiteral("/StatusNotifierWatcher");
}

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

/// Whether some program owns the selection by which trays of the older kind are known.
bool displayHasTray(xcb_connection_t* connection) {
    const auto name = QByteArray("_NET_SYSTEM_TRAY_S0");
    const auto atom = owned(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData()),
        nullptr));
    if (atom == nullptr) return false;
    const auto owner =
        owned(xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner != nullptr && owner->owner != XCB_WINDOW_NONE;
}

}  // namespace

TrayWatcher::TrayWatcher(std::chrono::milliseconds patience, std::function<void()> found, std::function<void()> missed)
    : _found(std::move(found)), _missed(std::move(missed)) {
    connect(&_displayTimer, &QTimer::timeout, this, [this] { askDisplay(); });
    QTimer::singleShot(patience, this, [this] {
        if (!_isFound) _missed();
    });
    if (!watchBus()) askDisplay();
}

bool TrayWatcher::watchBus() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    auto* watcher = new QDBusServiceWatcher(watcherName(), bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayWatcher::askBus);
    bus.connect(watcherName(), watcherPath(), watcherName(), QStringLiteral("StatusNotifierHostRegistered"), this,
                SLOT(askBus()));
    askBus();
    return true;
}

void TrayWatcher::askBus() {
    auto call = QDBusMessage::createMethodCall(
        watcherName(), watcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << watcherName() << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* pending = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QDBusVariant> reply = *finished;
        finished->deleteLater();
        if (!reply.isError() && reply.value().variant().toBool()) return tellFound();
        // Only now: where both are there, the bus shows the items that one sees.
        askDisplay();
    });
}

void TrayWatcher::askDisplay() {
    const auto* display = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // Qt's displays without a screen are of X's kind, yet may have no connection.
    auto* connection = display != nullptr ? display->connection() : nullptr;
    if (_isFound || connection == nullptr) return;
    if (displayHasTray(connection)) return tellFound();
    _displayTimer.start(kDisplayInterval);
}

void TrayWatcher::tellFound() {
    if (std::exchange(_isFound, true)) return;
    _displayTimer.stop();
    _found();
}

}  // namespace zelvane
