// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/tunnelproxy.h"

namespace {

// Passes on what arrives, and the end.
void pass(QTcpSocket* from, QTcpSocket* to)
{
    QObject::connect(from, &QTcpSocket::readyRead, to, [from, to] { to->write(from->readAll()); });
    QObject::connect(from, &QTcpSocket::disconnected, to, [to] { to->disconnectFromHost(); });
}

} // namespace

TunnelProxy::TunnelProxy(quint16 target) : mTarget(target)
{
    connect(&mServer, &QTcpServer::newConnection, this, &TunnelProxy::onConnection);
    mServer.listen(QHostAddress::LocalHost);
}

void TunnelProxy::onConnection()
{
    while (QTcpSocket* const client = mServer.nextPendingConnection()) {
        connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        connect(client, &QTcpSocket::readyRead, this, [this, client] {
            if (client->property("tunnelled").toBool() || !client->peek(65536).contains("\r\n\r\n"))
                return;
            const QByteArray request = client->readAll();
            ++mAsked;
            if (mHangs)
                return;
            if (mHangsUp) {
                client->disconnectFromHost();
                return;
            }
            if (!mDemanded.isEmpty() &&
                !request.contains("\r\nProxy-Authorization: " + mDemanded + "\r\n")) {
                client->write("HTTP/1.1 407 Who are you\r\nProxy-Authenticate: Basic "
                              "realm=\"proxy\"\r\nContent-Length: 0\r\n\r\n");
                return;
            }
            client->setProperty("tunnelled", true);
            if (!mRefusal.isEmpty()) {
                client->write(mRefusal);
                client->disconnectFromHost();
                return;
            }
            tunnel(client);
        });
    }
}

void TunnelProxy::tunnel(QTcpSocket* client)
{
    ++mTunnels;
    auto* const server = new QTcpSocket(client);
    server->setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    connect(server, &QTcpSocket::connected, client,
            [client] { client->write("HTTP/1.1 200 Connection established\r\n\r\n"); });
    pass(client, server);
    pass(server, client);
    server->connectToHost(QHostAddress::LocalHost, mTarget);
}
