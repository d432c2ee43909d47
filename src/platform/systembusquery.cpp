// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/systembusquery.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QMutex>

#include <mutex>

namespace QtMobility {

namespace {

QString connectionName()
{
    return QStringLiteral("kelaccount-platform");
}

QString systemBusAddress()
{
    const QString address = QString::fromLocal8Bit(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"));
    return address.isEmpty() ? QStringLiteral("unix:path=/var/run/dbus/system_bus_socket")
                             : address;
}

QDBusMessage callBefore(const QDeadlineTimer& deadline, const QDBusConnection& bus,
                        QDBusMessage message)
{
    const int remaining = static_cast<int>(deadline.remainingTime());
    if (remaining <= 0)
        return QDBusMessage::createError(QDBusError::Timeout, QStringLiteral("Out of time"));
    message.setAutoStartService(false);
    return bus.call(message, QDBus::Block, remaining);
}

// Greets the bus itself: QDBusConnection::systemBus() does so too, but waits 25 seconds for a bus
// that does not answer, is never made again after the bus has gone, and belongs to the application.
// The answer is not waited for: the bus reads what it is sent in its order, and what follows a
// greeting that it refuses it answers by closing the connection.
QDBusConnection greetedBus(const QDeadlineTimer& deadline)
{
    QDBusConnection bus = QDBusConnection::connectToPeer(systemBusAddress(), connectionName());
    if (!bus.isConnected())
        return bus;
    const QDBusMessage hello = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("Hello"));
    bus.asyncCall(hello, static_cast<int>(deadline.remainingTime()));
    return bus;
}

QDBusConnection connectedBus(const QDeadlineTimer& deadline)
{
    // Nobody may use a connection that another thread is still greeting on.
    static QMutex mutex;
    const std::unique_lock<QMutex> lock(mutex, std::chrono::milliseconds(deadline.remainingTime()));
    if (!lock.owns_lock())
        return QDBusConnection(QString());
    {
        const QDBusConnection bus(connectionName());
        if (bus.isConnected())
            return bus;
    }
    QDBusConnection::disconnectFromPeer(connectionName());
    return greetedBus(deadline);
}

} // namespace

SystemBusQuery::SystemBusQuery() : mBus(connectedBus(mDeadline))
{
}

QDBusMessage SystemBusQuery::call(const QString& service, const QString& path,
                                  const QString& interface, const QString& method,
                                  const QVariantList& arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    return callBefore(mDeadline, mBus, message);
}

} // namespace QtMobility
