// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QHostAddress>
#include <QList>
#include <QObject>

class QNetworkAccessManager;
class QNetworkReply;

namespace KelRestHandler {

/// Sets TCP_NODELAY on every connected stream socket of this process whose peer is one of the
/// addresses at the port. Returns how many sockets that were.
int disableNagle(const QList<QHostAddress>& peers, quint16 port);

/// Takes the 40 ms away that a post on a kept-alive connection would wait.
///
/// QNetworkAccessManager writes header and body of a post apart, and Nagle's algorithm (RFC 896)
/// holds the second write until the peer's delayed acknowledgement of the first. Qt offers no way
/// to the socket, so when a connection of the given manager has finished its TLS handshake, the one
/// descriptor is looked for whose peer is that server, or the proxy on the way to it.
class ConnectionLatency : public QObject
{
    Q_OBJECT

public:
    ConnectionLatency(QNetworkAccessManager* manager, QObject* parent);

private:
    void onConnected(QNetworkReply* reply);
    void onPeerKnown(const QList<QHostAddress>& addresses, quint16 port);
};

} // namespace KelRestHandler
