// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QString>
#include <QVariantList>

#include <chrono>

namespace QtMobility {

/// One question to the services on the system bus: its exchanges together take at most a second,
/// because the caller's thread waits for them. A service that is not running is not started.
///
/// The bus is connected to on first use and again when the connection has broken meanwhile; that is
/// part of the second too. Threads share the connection.
class SystemBusQuery
{
public:
    static constexpr std::chrono::milliseconds longest{1000};

    SystemBusQuery();

    /// The reply, or an error message: no bus, no such service, refused, out of time.
    QDBusMessage call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments = {});

private:
    QDeadlineTimer mDeadline{longest};
    QDBusConnection mBus;
};

} // namespace QtMobility
