// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/networkreplycontainer.h"

#include "rest/transport/endreply.h"
#include "rest/transport/replyfacts.h"
#include "rest/transport/replyproperties.h"

#include <QTimerEvent>

#include <algorithm>
#include <atomic>

namespace KelRestHandler {

namespace {

std::atomic<int> guardTime{60000};

// To the network library a line without a colon and the next are one, with a name of both.
bool isTorn(const QNetworkReply& reply)
{
    const auto& headers = reply.rawHeaderPairs();
    return std::any_of(headers.cbegin(), headers.cend(),
                       [](const auto& header) { return header.first.contains('\n'); });
}

} // namespace

NetworkReplyContainer::NetworkReplyContainer(QNetworkReply* reply)
    : NetworkReplyContainer(reply, guardTime)
{
}

NetworkReplyContainer::NetworkReplyContainer(QNetworkReply* reply, int milliseconds)
    : QObject(reply), mReply(reply), mGuardMilliseconds(milliseconds)
{
    connect(reply, &QNetworkReply::metaDataChanged, this, &NetworkReplyContainer::onHead);
    connect(reply, &QNetworkReply::readyRead, this, &NetworkReplyContainer::endOversizedReply);
    mSincePosted.start();
    startTimer(mGuardMilliseconds, Qt::PreciseTimer);
}

void NetworkReplyContainer::setGuardMilliseconds(int milliseconds)
{
    guardTime = milliseconds;
}

int NetworkReplyContainer::guardMilliseconds()
{
    return guardTime;
}

void NetworkReplyContainer::timerEvent(QTimerEvent* event)
{
    killTimer(event->timerId());
    // Timers count whole milliseconds from when the event loop last looked at its clock.
    const qint64 left = mGuardMilliseconds - mSincePosted.elapsed();
    if (left > 0) {
        startTimer(static_cast<int>(left), Qt::PreciseTimer);
        return;
    }
    // A reply that has ended is answered by that, and its answer may still be on its way: it
    // outlives a receiver that runs an event loop of its own.
    if (mReply->isFinished())
        return;
    mReply->setProperty(ReplyProperty::timedOut, 1);
    Q_EMIT requestTimedOut(mReply);
}

void NetworkReplyContainer::onHead()
{
    endTornReply();
    endOversizedReply();
}

// If the length was lost so, the reply would last for as long as its connection.
void NetworkReplyContainer::endTornReply()
{
    const bool hasEnd =
        mReply->hasRawHeader("Content-Length") || mReply->hasRawHeader("Transfer-Encoding");
    if (hasEnd || mReply->isFinished() || !isTorn(*mReply))
        return;
    const auto facts = factsOf(*mReply);
    if (facts)
        facts->isTorn = true;
    endReply(*mReply);
}

void NetworkReplyContainer::endOversizedReply()
{
    const qint64 announced = mReply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (qMax(announced, mReply->bytesAvailable()) <= maximumReplyBytes || mReply->isFinished())
        return;
    const auto facts = factsOf(*mReply);
    if (facts)
        facts->isOversized = true;
    endReply(*mReply);
}

} // namespace KelRestHandler
