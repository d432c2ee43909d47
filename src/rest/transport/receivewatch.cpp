// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/receivewatch.h"

#include "rest/transport/endreply.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/proxywatch.h"
#include "rest/transport/replyfacts.h"

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

ReceiveWatch::Before ReceiveWatch::before(const QUrl& address, KnownSockets& known,
                                          bool isLikelyToReconnect)
{
    known.erase(std::remove_if(known.begin(), known.end(),
                               [](const auto& socket) { return !isStillOpen(socket); }),
                known.end());
    Before before{firstHopTo(address), known.empty() || isLikelyToReconnect, {}, {}};
    if (before.isSearching) {
        for (const ConnectedSocket& socket : connectedSockets(before.hop.port))
            before.ofOthers.insert(socket.identity);
    }
    for (const ConnectedSocket& socket : known) {
        before.ofOthers.remove(socket.identity);
        before.received.insert(socket.identity, bytesReceived(socket.descriptor));
    }
    return before;
}

ReceiveWatch::ReceiveWatch(QNetworkReply* reply, std::shared_ptr<KnownSockets> known, Before before)
    : QObject(reply), mReply(reply), mKnown(std::move(known)), mBefore(std::move(before))
{
    ++awaited()[mBefore.hop.port];
    connect(reply, &QNetworkReply::encrypted, this, [this] {
        mBefore.isSearching = true;
        look();
    });
    connect(reply, &QNetworkReply::finished, this, &ReceiveWatch::onFinished);
    // Whose connection stands has its tunnel.
    if (mBefore.isSearching && mBefore.hop.isTunnel)
        new ProxyWatch(reply, mBefore.hop, mBefore.ofOthers); // the reply's child
    startTimer(lookMilliseconds);
}

ReceiveWatch::~ReceiveWatch()
{
    if (--awaited()[mBefore.hop.port] == 0)
        awaited().remove(mBefore.hop.port);
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
    if (!mBefore.isSearching)
        return;
    *mKnown = connectedSockets(mBefore.hop.port);
    mKnown->erase(std::remove_if(mKnown->begin(), mKnown->end(),
                                 [this](const auto& socket) {
                                     return mBefore.ofOthers.contains(socket.identity);
                                 }),
                  mKnown->end());
}

KnownSockets ReceiveWatch::socketsBeyond(quint64 bytes) const
{
    KnownSockets beyond;
    std::copy_if(mKnown->begin(), mKnown->end(), std::back_inserter(beyond),
                 [this, bytes](const auto& socket) {
                     return isStillOpen(socket) && bytesReceived(socket.descriptor) -
                                                           mBefore.received.value(socket.identity) >
                                                       bytes;
                 });
    return beyond;
}

// Of the sockets that replies before have used, only those count at which something has arrived:
// the others are those of requests at that time.
int ReceiveWatch::strangers() const
{
    const auto counts = [this](const ConnectedSocket& socket) {
        const auto before = mBefore.received.find(socket.identity);
        return before == mBefore.received.end() || bytesReceived(socket.descriptor) > *before;
    };
    const auto count = std::count_if(mKnown->begin(), mKnown->end(), counts);
    return qMax(0, static_cast<int>(count) - awaited().value(mBefore.hop.port));
}

void ReceiveWatch::look()
{
    search();
    // With more sockets than awaited replies it takes so many that one of ours is among them.
    if (static_cast<int>(socketsBeyond(maximumOnTheWire).size()) <= strangers() ||
        mReply->isFinished())
        return;
    const auto facts = factsOf(*mReply);
    if (facts)
        facts->isOversized = true;
    endReply(*mReply);
}

void ReceiveWatch::onFinished()
{
    const auto facts = factsOf(*mReply);
    if (facts && facts->isOversized)
        endOversizedConnection();
    else
        forgetSilentSockets();
}

// Where several connections were opened at a time, each reply knows all of their sockets. Those at
// which nothing has arrived during a whole reply are not its own, and every one that is kept is
// looked at for each request.
void ReceiveWatch::forgetSilentSockets()
{
    const bool isWhole = mReply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    if (mKnown->size() < 2 || !isWhole)
        return;
    const KnownSockets heard = socketsBeyond(0);
    if (!heard.empty())
        *mKnown = heard;
}

// The network library would not look up before it has read what is there, and a service that sends
// faster than it reads keeps it there.
void ReceiveWatch::endOversizedConnection()
{
    search();
    const KnownSockets beyond = socketsBeyond(NetworkReplyContainer::maximumReplyBytes);
    if (strangers() == 0)
        std::for_each(beyond.begin(), beyond.end(), &shutDown);
}

} // namespace KelRestHandler
