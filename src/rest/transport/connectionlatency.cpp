// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/connectionlatency.h"

#include <QHostInfo>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QUrl>

#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cstdlib>
#include <memory>

namespace KelRestHandler {

namespace {

constexpr quint16 httpsPort = 443;

quint16 portOf(const sockaddr_storage& address)
{
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    return 0;
}

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool isConnectedTo(int descriptor, const QList<QHostAddress>& peers, quint16 port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    // Fails for everything that is not a connected socket.
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        portOf(address) != port)
        return false;
    int type = 0;
    socklen_t typeLength = sizeof type;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0 ||
        type != SOCK_STREAM)
        return false;
    const QHostAddress peer(reinterpret_cast<const sockaddr*>(&address));
    for (const QHostAddress& candidate : peers) {
        // An IPv4 peer of an IPv6 socket reads as ::ffff:a.b.c.d.
        if (peer.isEqual(candidate, QHostAddress::ConvertV4MappedToIPv4))
            return true;
    }
    return false;
}

} // namespace

int disableNagle(const QList<QHostAddress>& peers, quint16 port)
{
    // opendir(3) opens close-on-exec.
    const std::unique_ptr<DIR, CloseFolder> descriptors(::opendir("/proc/self/fd"));
    if (!descriptors)
        return 0;
    int count = 0;
    while (const dirent* entry = ::readdir(descriptors.get())) {
        char* end = nullptr;
        const long descriptor = std::strtol(entry->d_name, &end, 10);
        if (end == entry->d_name || !isConnectedTo(static_cast<int>(descriptor), peers, port))
            continue;
        const int on = 1;
        if (::setsockopt(static_cast<int>(descriptor), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) ==
            0)
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
    QString host = reply->url().host();
    auto port = static_cast<quint16>(reply->url().port(httpsPort));
    const auto proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(reply->url()));
    if (!proxies.isEmpty() && !proxies.first().hostName().isEmpty()) {
        host = proxies.first().hostName();
        port = proxies.first().port();
    }

    const QHostAddress literal(host);
    if (!literal.isNull()) {
        onPeerKnown({literal}, port);
        return;
    }
    // The connection was made to one of these addresses a moment ago: Qt answers from its cache.
    QHostInfo::lookupHost(
        host, this, [this, port](const QHostInfo& info) { onPeerKnown(info.addresses(), port); });
}

void ConnectionLatency::onPeerKnown(const QList<QHostAddress>& addresses, quint16 port)
{
    disableNagle(addresses, port);
}

} // namespace KelRestHandler
