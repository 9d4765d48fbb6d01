// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/StatusNotifierWatcher.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <algorithm>

namespace zelvane {

namespace {

constexpr const char* kConnection = "zelvane-test";

QString itemInterface() {
    return QStringLiteral("org.kde.StatusNotifierItem");
}
QString menuInterface() {
    return QStringLiteral("com.canonical.dbusmenu");
}

void readPixmaps(const QDBusArgument& argument, int& count) {
    argument.beginArray();
    for (count = 0; !argument.atEnd(); ++count) {
        int width = 0, height = 0;
        QByteArray bytes;
        argument.beginStructure();
        argument >> width >> height >> bytes;
        argument.endStructure();
    }
    argument.endArray();
}

StatusNotifierWatcher::Entry readEntry(const QDBusArgument& argument) {
    StatusNotifierWatcher::Entry entry;
    QVariantMap properties;
    argument.beginStructure();
    argument >> entry.id >> properties;
    argument.endStructure();
    entry.label = properties.value(QStringLiteral("label")).toString().remove(QLatin1Char('_'));
    entry.isEnabled = properties.value(QStringLiteral("enabled"), true).toBool();
    entry.isSeparator = properties.value(QStringLiteral("type")).toString() == QStringLiteral("separator");
    return entry;
}

/// The entries below the menu's root.
QList<StatusNotifierWatcher::Entry> readMenu(const QDBusArgument& argument) {
    QList<StatusNotifierWatcher::Entry> entries;
    int root = 0;
    QVariantMap properties;
    argument.beginStructure();
    argument >> root >> properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        entries << readEntry(child.variant().value<QDBusArgument>());
    }
    argument.endArray();
    argument.endStructure();
    return entries;
}

}  // namespace

bool SessionBus::start() {
    _bus.emplace(std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile",
                                          "--address=" + address().toStdString()},
                 ChildProcess::Environment{});
    return waitFor([this] { return std::filesystem::exists(_folder.path / "bus"); }, 20);
}

QString SessionBus::address() const {
    return QStringLiteral("unix:path=%1/bus").arg(QString::fromStdString(_folder.path.string()));
}

StatusNotifierWatcher::StatusNotifierWatcher(const SessionBus& bus)
    : _connection(QDBusConnection::connectToBus(bus.address(), QString::fromLatin1(kConnection))) {}

StatusNotifierWatcher::~StatusNotifierWatcher() {
    QDBusConnection::disconnectFromBus(QString::fromLatin1(kConnection));
}

bool StatusNotifierWatcher::begin() {
    return _connection.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                      QDBusConnection::ExportAllProperties | QDBusConnection::ExportScriptableSlots |
                                          QDBusConnection::ExportScriptableSignals) &&
           _connection.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

void StatusNotifierWatcher::RegisterStatusNotifierItem(const QString& service) {
    _service = service.startsWith(QLatin1Char('/')) ? message().service() : service;
    _items << _service;
    Q_EMIT StatusNotifierItemRegistered(_service);
}

bool StatusNotifierWatcher::waitUntil(const std::function<bool()>& condition, double seconds) {
    return waitFor(
        [&] {
            QCoreApplication::processEvents();
            return condition();
        },
        seconds);
}

bool StatusNotifierWatcher::hasItem(double seconds) {
    return waitUntil([this] { return !_items.isEmpty(); }, seconds);
}

QVariant StatusNotifierWatcher::property(const QString& name) {
    auto call =
        QDBusMessage::createMethodCall(_service, QStringLiteral("/StatusNotifierItem"),
                                       QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << itemInterface() << name;
    const auto reply = _connection.call(call);
    return reply.arguments().isEmpty() ? QVariant() : reply.arguments().constFirst().value<QDBusVariant>().variant();
}

QString StatusNotifierWatcher::toolTip() {
    const auto argument = property(QStringLiteral("ToolTip")).value<QDBusArgument>();
    QString icon, title, text;
    int images = 0;
    argument.beginStructure();
    argument >> icon;
    readPixmaps(argument, images);
    argument >> title >> text;
    argument.endStructure();
    return title + text;
}

int StatusNotifierWatcher::images() {
    int count = 0;
    readPixmaps(property(QStringLiteral("IconPixmap")).value<QDBusArgument>(), count);
    return count;
}

QList<StatusNotifierWatcher::Entry> StatusNotifierWatcher::menu() {
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    auto call = QDBusMessage::createMethodCall(_service, path, menuInterface(), QStringLiteral("GetLayout"));
    call << 0 << -1 << QStringList();
    const auto reply = _connection.call(call);
    return reply.arguments().size() < 2 ? QList<Entry>() : readMenu(reply.arguments().at(1).value<QDBusArgument>());
}

QStringList StatusNotifierWatcher::labels() {
    QStringList all;
    for (const Entry& entry : menu()) all << (entry.isSeparator ? QStringLiteral("-") : entry.label);
    return all;
}

bool StatusNotifierWatcher::click(const QString& label) {
    for (const Entry& entry : menu()) {
        if (entry.label != label) continue;
        auto call =
            QDBusMessage::createMethodCall(_service, property(QStringLiteral("Menu")).value<QDBusObjectPath>().path(),
                                           menuInterface(), QStringLiteral("Event"));
        call << entry.id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(QString())) << 0U;
        return _connection.call(call, QDBus::NoBlock).type() != QDBusMessage::ErrorMessage;
    }
    return false;
}

void StatusNotifierWatcher::activate() {
    auto call = QDBusMessage::createMethodCall(_service, QStringLiteral("/StatusNotifierItem"), itemInterface(),
                                               QStringLiteral("Activate"));
    call << 10 << 10;
    _connection.call(call, QDBus::NoBlock);
}

}  // namespace zelvane
