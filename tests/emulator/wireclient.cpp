// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wireclient.h"

#include "emulator/emulatorprocess.h"
#include "rest/request/servicehosts.h"
#include "support/literals.h"

#include <QDeadlineTimer>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QSslConfiguration>

namespace {

constexpr int wirePatience = 30000;

} // namespace

QByteArray WireReply::header(const QByteArray& name) const
{
    const QRegularExpression line(
        "^%1: (.*)\\r$"_s.arg(QRegularExpression::escape(QString::fromLatin1(name))),
        QRegularExpression::MultilineOption | QRegularExpression::CaseInsensitiveOption);
    return line.match(QString::fromLatin1(headers)).captured(1).toLatin1();
}

qint64 WireReply::announcedLength() const
{
    bool good = false;
    const qint64 length = header("Content-Length").toLongLong(&good);
    return good ? length : -1;
}

bool WireClient::open(const EmulatorProcess& emulator, const QString& wantedHost)
{
    const QString host =
        wantedHost.isEmpty() ? QStringLiteral(KELACCOUNT_HOST_PRODUCTION) : wantedHost;
    mSocket.setProxy(QNetworkProxy::NoProxy);
    mSocket.connectToHost("127.0.0.1"_s, emulator.proxyPort());
    if (!mSocket.waitForConnected(wirePatience))
        return false;
    mSocket.write("CONNECT " + host.toLatin1() + ":443 HTTP/1.1\r\nHost: " + host.toLatin1() +
                  ":443\r\n\r\n");
    while (!mProxyAnswer.contains("\r\n\r\n")) {
        if (!mSocket.waitForReadyRead(wirePatience))
            return false;
        mProxyAnswer += mSocket.readAll();
    }
    if (!mProxyAnswer.startsWith("HTTP/1.1 200 "))
        return false;

    QSslConfiguration configuration = mSocket.sslConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(emulator.authorityFile()));
    mSocket.setSslConfiguration(configuration);
    mSocket.setPeerVerifyName(host);
    mSocket.startClientEncryption();
    const bool encrypted = mSocket.waitForEncrypted(wirePatience);
    mErrors = mSocket.sslHandshakeErrors();
    return encrypted;
}

bool WireClient::send(const QByteArray& bytes)
{
    mSocket.write(bytes);
    while (mSocket.bytesToWrite() > 0 || mSocket.encryptedBytesToWrite() > 0) {
        if (!mSocket.waitForBytesWritten(wirePatience))
            return false;
    }
    return true;
}

WireReply WireClient::readReply(bool toEnd)
{
    WireReply reply;
    const QDeadlineTimer deadline(wirePatience);
    while (!deadline.hasExpired()) {
        reply.raw += mSocket.readAll();
        const int headEnd = reply.headers.isEmpty() ? reply.raw.indexOf("\r\n\r\n") : -1;
        if (headEnd >= 0) {
            reply.headers = reply.raw.left(headEnd + 4);
            reply.status = reply.raw.mid(9, 3).toInt();
        }
        const qint64 length = reply.announcedLength();
        const bool whole = length >= 0 && reply.raw.size() - reply.headers.size() >= length;
        if (!reply.headers.isEmpty() && whole && !toEnd)
            break;
        if (mSocket.state() != QAbstractSocket::ConnectedState && mSocket.bytesAvailable() == 0) {
            reply.closed = true;
            break;
        }
        mSocket.waitForReadyRead(100);
    }
    if (!reply.headers.isEmpty())
        reply.body = reply.raw.mid(reply.headers.size());
    return reply;
}

WireReply WireClient::receive()
{
    return readReply(false);
}

WireReply WireClient::receiveToEnd()
{
    return readReply(true);
}

WireReply WireClient::ask(const QByteArray& bytes)
{
    return send(bytes) ? receive() : WireReply();
}

bool WireClient::somethingComes(int milliseconds)
{
    return mSocket.waitForReadyRead(milliseconds) ||
           mSocket.state() != QAbstractSocket::ConnectedState;
}

bool WireClient::waitForEnd()
{
    return mSocket.state() == QAbstractSocket::UnconnectedState ||
           mSocket.waitForDisconnected(wirePatience);
}
