// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/receivewatch.h"

#include "rest/networkreplycontainer.h"
#include "rest/replyproperties.h"

#include <QNetworkProxy>
#include <QTimerEvent>
#include <QUrl>

#include <algorithm>

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

quint16 peerPortFor(const QUrl& url)
{
    const auto proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    if (!proxies.isEmpty() && !proxies.first().hostName().isEmpty())
        return proxies.first().port();
    constexpr int httpPort = 80;
    constexpr int httpsPort = 443;
    return static_cast<quint16>(
        url.port(url.scheme() == QLatin1String("https") ? httpsPort : httpPort));
}

bool isStillOpen(const ConnectedSocket& socket)
{
    struct stat status = {};
    return ::fstat(socket.descriptor, &status) == 0 && status.st_ino == socket.identity;
}

} // namespace

ReceiveWatch::ReceiveWatch(QNetworkReply* reply, std::shared_ptr<KnownSockets> known)
    : QObject(reply), mReply(reply), mKnown(std::move(known)), mPort(peerPortFor(reply->url()))
{
    ++awaited()[mPort];
    mKnown->erase(std::remove_if(mKnown->begin(), mKnown->end(),
                                 [](const auto& socket) { return !isStillOpen(socket); }),
                  mKnown->end());
    if (mKnown->empty()) {
        for (const ConnectedSocket& socket : connectedSockets(mPort))
            mOfOthers.insert(socket.identity);
    }
    for (const ConnectedSocket& socket : *mKnown)
        mReceivedBefore.insert(socket.identity, bytesReceived(socket.descriptor));
    connect(reply, &QNetworkReply::encrypted, this, &ReceiveWatch::look);
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

void ReceiveWatch::look()
{
    mKnown->clear();
    KnownSockets tooMuch;
    for (const ConnectedSocket& socket : connectedSockets(mPort)) {
        if (mOfOthers.contains(socket.identity))
            continue;
        mKnown->push_back(socket);
        const quint64 received = bytesReceived(socket.descriptor);
        if (received - mReceivedBefore.value(socket.identity) > maximumOnTheWire)
            tooMuch.push_back(socket);
    }
    // With more sockets than awaited replies it takes so many that one of ours is among them.
    const int strangers = static_cast<int>(mKnown->size()) - awaited().value(mPort);
    const int found = static_cast<int>(tooMuch.size());
    if (found == 0 || found <= strangers || mReply->isFinished())
        return;
    // The network library would not look up before it has read what is there.
    if (strangers <= 0)
        std::for_each(tooMuch.begin(), tooMuch.end(), &shutDown);
    mReply->setProperty(ReplyProperty::oversized, true);
    mReply->abort();
}

} // namespace KelRestHandler
