// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/scriptedserver.h"
#include "support/literals.h"

#include <QSslCertificate>
#include <QSslSocket>
#include <QTimer>

#include <sys/socket.h>

namespace {

const QByteArray headEnd = "\r\n\r\n";

WireRequest parseHead(const QByteArray& head)
{
    WireRequest request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.value(0).trimmed().split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    for (int i = 1; i < lines.size(); ++i) {
        const int colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request.headers.append({lines.at(i).left(colon), lines.at(i).mid(colon + 1).trimmed()});
    }
    return request;
}

} // namespace

QByteArray WireRequest::header(const QByteArray& name) const
{
    for (const auto& header : headers) {
        if (header.first.toLower() == name.toLower())
            return header.second;
    }
    return {};
}

int WireRequest::headerCount(const QByteArray& name) const
{
    int count = 0;
    for (const auto& header : headers)
        count += header.first.toLower() == name.toLower() ? 1 : 0;
    return count;
}

Reaction Reaction::reply(int status, const QByteArray& body, const QByteArray& extraHeaders)
{
    Reaction reaction;
    reaction.bytes = "HTTP/1.1 " + QByteArray::number(status) + " Scripted\r\n" + extraHeaders +
                     "Content-Length: " + QByteArray::number(body.size()) + headEnd + body;
    return reaction;
}

Reaction Reaction::silence()
{
    Reaction reaction;
    reaction.end = End::Hang;
    return reaction;
}

void ScriptedServer::Listener::incomingConnection(qintptr descriptor)
{
    if (tls.localCertificate().isNull())
        return QTcpServer::incomingConnection(descriptor);
    auto* const socket = new QSslSocket(this);
    socket->setSslConfiguration(tls);
    socket->setSocketDescriptor(descriptor);
    socket->startServerEncryption();
    addPendingConnection(socket);
}

ScriptedServer::ScriptedServer(const QSslConfiguration& tls, const QHostAddress& address)
{
    mServer.tls = tls;
    connect(&mServer, &QTcpServer::newConnection, this, &ScriptedServer::onConnection);
    if (!mServer.listen(address))
        mProblems.append("cannot listen: "_s + mServer.errorString());
}

QString ScriptedServer::base() const
{
    const QString scheme = mServer.tls.localCertificate().isNull() ? "http"_s : "https"_s;
    const QString address = mServer.serverAddress().toString();
    const bool isIPv6 = address.contains(QLatin1Char(':'));
    return "%1://%2:%3/rest/1.0/"_s.arg(scheme, isIPv6 ? "[%1]"_s.arg(address) : address)
        .arg(port());
}

void ScriptedServer::closeConnections()
{
    const auto sockets = mServer.findChildren<QTcpSocket*>();
    for (QTcpSocket* const socket : sockets)
        socket->disconnectFromHost();
}

QStringList ScriptedServer::problems() const
{
    QStringList result = mProblems;
    if (!mReactions.isEmpty())
        result.append("%1 ordered reactions were never used"_s.arg(mReactions.size()));
    return result;
}

void ScriptedServer::onConnection()
{
    if (mWhenConnected)
        mWhenConnected();
    while (QTcpSocket* const socket = mServer.nextPendingConnection()) {
        ++mConnections;
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { onData(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            mReceived.remove(socket);
            socket->deleteLater();
        });
    }
}

void ScriptedServer::onData(QTcpSocket* socket)
{
    QByteArray& received = mReceived[socket];
    const QByteArray more = socket->readAll();
    mBytesFromClients += more.size();
    received += more;
    const int end = received.indexOf(headEnd);
    if (end < 0)
        return;
    WireRequest request = parseHead(received.left(end));
    const int bodyStart = end + headEnd.size();
    const int length = request.header("Content-Length").toInt();
    if (received.size() - bodyStart < length)
        return;
    request.body = received.mid(bodyStart, length);
    received.remove(0, bodyStart + length);
    mRequests.append(request);
    if (!socket->property("used").toBool())
        ++mUsedConnections;
    socket->setProperty("used", true);
    react(socket);
}

void ScriptedServer::react(QTcpSocket* socket)
{
    if (mReactions.isEmpty() && !mAnswer) {
        mProblems.append("unexpected request for "_s +
                         QString::fromLatin1(mRequests.last().target));
        socket->abort();
        return;
    }
    const Reaction reaction = mAnswer ? mAnswer(mRequests.last()) : mReactions.takeFirst();
    if (reaction.end == Reaction::End::Hang)
        return;
    const auto act = [reaction, target = QPointer<QTcpSocket>(socket)] {
        if (!target)
            return;
        target->write(reaction.bytes);
        target->flush();
        if (reaction.end == Reaction::End::Close)
            target->disconnectFromHost();
        if (reaction.end == Reaction::End::Reset) {
            // Unsent data and the orderly end are given up: the peer sees a reset.
            const linger none{1, 0};
            ::setsockopt(static_cast<int>(target->socketDescriptor()), SOL_SOCKET, SO_LINGER, &none,
                         sizeof none);
            target->abort();
        }
        if (reaction.afterwards)
            reaction.afterwards();
    };
    if (reaction.delayMilliseconds > 0)
        QTimer::singleShot(reaction.delayMilliseconds, this, act);
    else
        act();
}
