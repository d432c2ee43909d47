// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSslConfiguration>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

/// A request as it came over the wire.
struct WireRequest
{
    QByteArray method;
    QByteArray target;
    QList<QPair<QByteArray, QByteArray>> headers; ///< as written, in their order
    QByteArray body;

    QByteArray header(const QByteArray& name) const;
    int headerCount(const QByteArray& name) const;
};

/// What the server does with one connection's request.
struct Reaction
{
    enum class End { KeepOpen, Close, Reset, Hang };

    QByteArray bytes;        ///< written as they stand
    End end = End::KeepOpen; ///< Hang: nothing is written at all
    int delayMilliseconds = 0;
    std::function<void()> afterwards; ///< called when the bytes were written

    /// A complete HTTP reply.
    static Reaction reply(int status, const QByteArray& body,
                          const QByteArray& extraHeaders = QByteArray());
    /// Nothing is written.
    static Reaction silence();
};

/// An HTTP server on loopback that does what the test told it, request by request. It is strict:
/// a request that nobody ordered and an order that no request came for are both problems.
class ScriptedServer : public QObject
{
    Q_OBJECT

public:
    /// Over TLS with a configuration that has a certificate and its key, else without.
    explicit ScriptedServer(const QSslConfiguration& tls = QSslConfiguration(),
                            const QHostAddress& address = QHostAddress::LocalHost);

    quint16 port() const { return mServer.serverPort(); }
    QString base() const; ///< "http://127.0.0.1:PORT/rest/1.0/", or https

    void expect(const Reaction& reaction) { mReactions.append(reaction); }
    /// Instead of orders: decides about every request for itself.
    void answerBy(std::function<Reaction(const WireRequest&)> answer)
    {
        mAnswer = std::move(answer);
    }

    /// Called for each new connection, before anything is read from it or its handshake begins.
    void whenConnected(std::function<void()> call) { mWhenConnected = std::move(call); }

    const QList<WireRequest>& requests() const { return mRequests; }
    int connections() const { return mConnections; }
    /// How many of them have brought a request.
    int usedConnections() const { return mUsedConnections; }
    int openConnections() const { return mServer.findChildren<QTcpSocket*>().size(); }
    /// What clients have sent in all, complete requests or not; over TLS what was inside.
    qint64 bytesFromClients() const { return mBytesFromClients; }
    /// Closes every connection, as a service does with those that were idle too long.
    void closeConnections();

    /// Empty when every request was ordered and every order used.
    QStringList problems() const;

private:
    /// Hands out its connections as they are, or after having begun the handshake.
    class Listener : public QTcpServer
    {
    public:
        QSslConfiguration tls;

    protected:
        void incomingConnection(qintptr descriptor) override;
    };

    void onConnection();
    void onData(QTcpSocket* socket);
    void react(QTcpSocket* socket);

    QList<Reaction> mReactions;
    std::function<Reaction(const WireRequest&)> mAnswer;
    std::function<void()> mWhenConnected;
    QList<WireRequest> mRequests;
    QHash<QTcpSocket*, QByteArray> mReceived;
    QStringList mProblems;
    int mConnections = 0;
    int mUsedConnections = 0;
    qint64 mBytesFromClients = 0;
    Listener mServer; // ends first: its sockets still report to the others
};
