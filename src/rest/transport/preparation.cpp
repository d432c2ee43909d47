// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/preparation.h"

#include "rest/transport/serviceconnections.h"

namespace KelRestHandler {

Preparation::Preparation(ServiceConnections& connections, QObject* parent)
    : QObject(parent), mConnections(connections)
{
    mDue.setSingleShot(true);
    connect(&mDue, &QTimer::timeout, this, &Preparation::look);
    // Not at once: it may end while the network library's thread waits for this one.
    connect(&connections, &ServiceConnections::prepared, this, &Preparation::onPrepared,
            Qt::QueuedConnection);
}

void Preparation::begin(const QUrl& service, int renewals)
{
    mService = service;
    mOpeningsLeft = renewals + 1;
    look();
}

void Preparation::look()
{
    // What is being prepared comes back here.
    if (mOpeningsLeft <= 0 || mConnections.preparing() > 0)
        return;
    // While the next is opened, the one before can still be used.
    const int lead = ServiceConnections::currentIdleMilliseconds() / 4;
    const int left = mConnections.millisecondsReady(mService) - lead;
    if (left > 0) {
        mDue.start(left);
        return;
    }
    --mOpeningsLeft;
    mConnections.prepare(mService);
}

void Preparation::onPrepared(bool stands)
{
    if (!stands)
        mOpeningsLeft = 0;
    look();
}

} // namespace KelRestHandler
