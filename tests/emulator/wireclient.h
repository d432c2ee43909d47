// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QSslError>
#include <QSslSocket>
#include <QString>

class EmulatorProcess;

/// A reply taken apart; `raw` has every byte that came.
struct WireReply
{
    QByteArray raw;
    int status = 0;
    QByteArray headers; ///< up to and with the empty line; empty when they never ended
    QByteArray body;
    bool closed = false; ///< the connection ended

    QByteArray header(const QByteArray& name) const;
    qint64 announcedLength() const; ///< -1 without a "Content-Length:"
};

/// One connection through the proxy, TLS and all, that sends and receives plain bytes.
class WireClient
{
public:
    /// Opens the tunnel and shakes hands. False when that fails; errors() may say why.
    /// `host` empty is the production host.
    bool open(const EmulatorProcess& emulator, const QString& host = {});
    QList<QSslError> errors() const { return mErrors; }
    QByteArray proxyAnswer() const { return mProxyAnswer; }
    QAbstractSocket::SocketError socketError() const { return mSocket.error(); }

    bool send(const QByteArray& bytes);
    /// Reads until the announced length is there or the connection ends.
    WireReply receive();
    /// Reads until the connection ends, whatever was announced.
    WireReply receiveToEnd();
    WireReply ask(const QByteArray& bytes);

    /// Whether something comes, or the end, within the time.
    bool somethingComes(int milliseconds);
    bool waitForEnd();

private:
    WireReply readReply(bool toEnd);

    QSslSocket mSocket;
    QList<QSslError> mErrors;
    QByteArray mProxyAnswer;
};
