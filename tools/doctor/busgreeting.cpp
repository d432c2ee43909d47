// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/doctor/busgreeting.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>

namespace Doctor {

QString sessionBusAddress()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address;
    const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QLatin1String("/bus");
    return QFileInfo::exists(socket) ? QLatin1String("unix:path=") + socket : QString();
}

QString systemBusAddress()
{
    return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                                QStringLiteral("unix:path=/var/run/dbus/system_bus_socket"));
}

Greeting greeted(const QString& address, int patienceMs)
{
    const auto name = QStringLiteral("kelaccount-doctor");
    Greeting greeting = Greeting::NobodyThere;
    {
        QDBusConnection bus = QDBusConnection::connectToPeer(address, name);
        const QDBusMessage hello = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("Hello"));
        if (bus.isConnected()) {
            greeting =
                bus.call(hello, QDBus::Block, patienceMs).type() == QDBusMessage::ReplyMessage
                    ? Greeting::Answered
                    : Greeting::Unanswered;
        }
    }
    QDBusConnection::disconnectFromPeer(name);
    return greeting;
}

} // namespace Doctor
