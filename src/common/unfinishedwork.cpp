// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/unfinishedwork.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace KelAccount {

void UnfinishedWork::finish(int longestMs)
{
    const QDeadlineTimer deadline(longestMs);
    QTimer wake;
    wake.start(longestMs);
    QEventLoop loop;
    while (isUnderWay() && !deadline.hasExpired())
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    while (loop.processEvents() && !deadline.hasExpired()) {
    }
}

} // namespace KelAccount
