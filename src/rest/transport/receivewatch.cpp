// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/receivewatch.h"

#include "rest/transport/firsthop.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/replyproperties.h"

#include <QTimerEvent>

#include <algorithm>
#include <iterator>

#include <sys/stat.h>

namespace KelRestHandler {

namespace {

// Short enough that a service on this very machine sends less than 64 MiB in it.
constexpr int lookMilliseconds = 20;

// What a reply of the permitted length takes with handshake, headers and the framing of TLS.
constexpr quint64 maximumOnTheWire =
    NetworkReplyContainer::maximumReplyBytes + NetworkReplyContainer::maximumReplyBytes / 16;

// Replies awaited by this thread from each port.
QHash<quint16, int>& awaited()
{
    thread_local QHash<quint16, int> counts;
    return counts;
}

bool isStillOpen(const ConnectedSocket& socket)
{
    struct stat status = {};
    return ::fstat(socket.descriptor, &status) == 0 && status.st_ino == socket.identity;
}

} // namespace

ReceiveWatch::ReceiveWatch(QNetworkReply* reply, std::shared_ptr<KnownSockets> known,
                           bool isLikelyToReconnect)
    : QObject(reply), mReply(reply), mKnown(std::move(known)), mPort(firstHopTo(reply->url()).port)
{
    ++awaited()[mPort];
    mKnown->erase(std::remove_if(mKnown->begin(), mKnown->end(),
                                 [](const auto& socket) { return !isStillOpen(socket); }),
                  mKnown->end());
    mIsSearching = mKnown->empty() || isLikelyToReconnect;
    if (mIsSearching) {
        for (const ConnectedSocket& socket : connectedSockets(mPort))
            mOfOthers.insert(socket.identity);
    }
    for (const ConnectedSocket& socket : *mKnown) {
        mOfOthers.remove(socket.identity);
        mReceivedBefore.insert(socket.identity, bytesReceived(socket.descriptor));
    }
    connect(reply, &QNetworkReply::encrypted, this, [this] {
        mIsSearching = true;
        look();
    });
    connect(reply, &QNetworkReply::finished, this, &ReceiveWatch::endOversizedConnection);
    startTimer(lookMilliseconds);
}

ReceiveWatch::~ReceiveWatch()
{
    if (--awaited()[mPort] == 0)
        awaited().remove(mPort);
}

void ReceiveWatch::timerEvent(QTimerEvent* event)
{
    if (mReply->isFinished())
        killTimer(event->timerId());
    else
        look();
}

void ReceiveWatch::search()
{
    if (!mIsSearching)
        return;
    *mKnown = connectedSockets(mPort);
    mKnown->erase(
        std::remove_if(mKnown->begin(), mKnown->end(),
                       [this](const auto& socket) { return mOfOthers.contains(socket.identity); }),
        mKnown->end());
}

KnownSockets ReceiveWatch::socketsBeyond(quint64 bytes) const
{
    KnownSockets beyond;
    std::copy_if(mKnown->begin(), mKnown->end(), std::back_inserter(beyond),
                 [this, bytes](const auto& socket) {
                     return isStillOpen(socket) && bytesReceived(socket.descriptor) -
                                                           mReceivedBefore.value(socket.identity) >
                                                       bytes;
                 });
    return beyond;
}

// Of the sockets that replies before have used, only those count at which something has arrived:
// the others are those of requests at that time.
int ReceiveWatch::strangers() const
{
    const auto counts = [this](const ConnectedSocket& socket) {
        const auto before = mReceivedBefore.find(socket.identity);
        return before == mReceivedBefore.end() || bytesReceived(socket.descriptor) > *before;
    };
    const auto count = std::count_if(mKnown->begin(), mKnown->end(), counts);
    return qMax(0, static_cast<int>(count) - awaited().value(mPort));
}

void ReceiveWatch::look()
{
    search();
    // With more sockets than awaited replies it takes so many that one of ours is among them.
    if (static_cast<int>(socketsBeyond(maximumOnTheWire).size()) <= strangers() ||
        mReply->isFinished())
        return;
    mReply->setProperty(ReplyProperty::oversized, true);
    mReply->abort();
}

// The network library would not look up before it has read what is there, and a service that sends
// faster than it reads keeps it there.
void ReceiveWatch::endOversizedConnection()
{
    if (!mReply->property(ReplyProperty::oversized).toBool())
        return;
    search();
    const KnownSockets beyond = socketsBeyond(NetworkReplyContainer::maximumReplyBytes);
    if (strangers() == 0)
        std::for_each(beyond.begin(), beyond.end(), &shutDown);
}

} // namespace KelRestHandler
