// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>

namespace KelRestHandler {

class ServiceConnections;

/// Keeps one connection to a service ready for a request that is expected soon.
///
/// Services close what is idle, so a connection is renewed before it is too old to be used, as many
/// times as is asked for: `usualRenewals` make half a minute, if nothing is sent in that time.
/// Where requests keep one in use, none is opened. One that cannot be opened is not tried again:
/// the next request will tell why.
class Preparation : public QObject
{
    Q_OBJECT

public:
    static constexpr int usualRenewals = 9;

    Preparation(ServiceConnections& connections, QObject* parent);

    /// From the beginning, when it was begun before.
    void begin(const QUrl& service, int renewals);

private:
    void look();
    void onPrepared(bool stands);

    ServiceConnections& mConnections;
    QUrl mService;
    int mOpeningsLeft = 0;
    QTimer mDue{this}; // a child, so that it comes along to another thread
};

} // namespace KelRestHandler
