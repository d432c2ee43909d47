// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/connectionlatency.h"

#include "rest/transport/firsthop.h"
#include "rest/transport/hostlookup.h"
#include "rest/transport/receivedbytes.h"

#include <QHostInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>

namespace KelRestHandler {

namespace {

bool isPeerAmong(const QList<QHostAddress>& peers, const ConnectedSocket& socket)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getpeername(socket.descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return false;
    const QHostAddress peer(reinterpret_cast<const sockaddr*>(&address));
    // An IPv4 peer of an IPv6 socket reads as ::ffff:a.b.c.d.
    return std::any_of(peers.begin(), peers.end(), [&peer](const QHostAddress& candidate) {
        return peer.isEqual(candidate, QHostAddress::ConvertV4MappedToIPv4);
    });
}

} // namespace

int disableNagle(const QList<QHostAddress>& peers, quint16 port)
{
    int count = 0;
    for (const ConnectedSocket& socket : connectedSockets(port)) {
        const int on = 1;
        if (isPeerAmong(peers, socket) &&
            ::setsockopt(socket.descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0)
            ++count;
    }
    return count;
}

ConnectionLatency::ConnectionLatency(QNetworkAccessManager* manager, QObject* parent)
    : QObject(parent)
{
    connect(manager, &QNetworkAccessManager::encrypted, this, &ConnectionLatency::onConnected);
}

void ConnectionLatency::onConnected(QNetworkReply* reply)
{
    const FirstHop hop = firstHopTo(reply->url());
    const QHostAddress literal(hop.host);
    if (!literal.isNull()) {
        onPeerKnown({literal}, hop.port);
        return;
    }
    // The connection was made to one of these addresses a moment ago: Qt answers from its cache.
    HostLookup::start(hop.host, this, [this, port = hop.port](const QHostInfo& info) {
        onPeerKnown(info.addresses(), port);
    });
}

void ConnectionLatency::onPeerKnown(const QList<QHostAddress>& addresses, quint16 port)
{
    disableNagle(addresses, port);
}

} // namespace KelRestHandler
