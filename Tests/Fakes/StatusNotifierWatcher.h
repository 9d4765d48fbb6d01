// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>

namespace zelvane {

/// A session bus of the test's own.
class SessionBus {
  public:
    /// False when it did not start.
    bool start();
    QString address() const;
    ChildProcess::Environment environment() const { return {{"DBUS_SESSION_BUS_ADDRESS", address().toStdString()}}; }

  private:
    TemporaryFolder _folder;
    std::optional<ChildProcess> _bus;
};

/// A desktop's tray as programs see it on the bus: it takes their status items, and the test looks at them and clicks.
class StatusNotifierWatcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

  public:
    /// An entry of the menu.
    struct Entry {
        int id = 0;
        QString label;
        bool isEnabled = true, isSeparator = false;
    };

    explicit StatusNotifierWatcher(const SessionBus& bus);
    ~StatusNotifierWatcher() override;

    /// Appears on the bus.
    bool begin();
    bool hasItem(double seconds = 20);
    /// The items so far, as if they had gone.
    void forgetItems() { _items.clear(); }
    QString toolTip();
    /// How many images the item brings, of different sizes.
    int images();
    QList<Entry> menu();
    QStringList labels();
    /// True when there was such an entry.
    bool click(const QString& label);
    /// A left click on the item itself.
    void activate();
    /// Looks again and again, serving the bus meanwhile.
    static bool waitUntil(const std::function<bool()>& condition, double seconds = 20);

    QStringList items() const { return _items; }
    bool isHostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

    Q_SLOT Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);
    Q_SIGNAL Q_SCRIPTABLE void StatusNotifierItemRegistered(const QString& item);

  private:
    QVariant property(const QString& name);

    QDBusConnection _connection;
    QStringList _items;
    QString _service;
};

}  // namespace zelvane
