// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/systembusquery.h"

#include <QDBusError>

namespace QtMobility {

namespace {

// A connection of our own: the process-wide one of QDBusConnection::systemBus() is never made again
// after the bus has gone, and belongs to the application.
QDBusConnection connectedBus()
{
    const QString name = QStringLiteral("kelaccount-platform");
    const QDBusConnection bus(name);
    if (bus.isConnected())
        return bus;
    QDBusConnection::disconnectFromBus(name);
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
}

} // namespace

SystemBusQuery::SystemBusQuery() : mBus(connectedBus())
{
}

QDBusMessage SystemBusQuery::call(const QString& service, const QString& path,
                                  const QString& interface, const QString& method,
                                  const QVariantList& arguments)
{
    const int remaining = static_cast<int>(mDeadline.remainingTime());
    if (remaining <= 0)
        return QDBusMessage::createError(QDBusError::Timeout, QStringLiteral("Out of time"));

    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return mBus.call(message, QDBus::Block, remaining);
}

} // namespace QtMobility
