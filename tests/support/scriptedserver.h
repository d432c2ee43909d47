// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
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
    enum class End { KeepOpen, Close, Hang };

    QByteArray bytes;         ///< written as they stand
    End end = End::KeepOpen;  ///< Hang: nothing is written at all
    int delayMilliseconds = 0;
    std::function<void()> afterwards; ///< called when the bytes were written

    /// A complete HTTP reply.
    static Reaction reply(int status, const QByteArray& body,
                          const QByteArray& extraHeaders = QByteArray());
};

/// An HTTP server on loopback that does what the test told it, request by request. It is strict:
/// a request that nobody ordered and an order that no request came for are both problems.
class ScriptedServer : public QObject
{
    Q_OBJECT

public:
    ScriptedServer();

    quint16 port() const { return mServer.serverPort(); }
    QString base() const; ///< "http://127.0.0.1:PORT/rest/1.0/"

    void expect(const Reaction& reaction) { mReactions.append(reaction); }
    /// Instead of orders: decides about every request for itself.
    void answerBy(std::function<Reaction(const WireRequest&)> answer) { mAnswer = std::move(answer); }

    const QList<WireRequest>& requests() const { return mRequests; }
    int connections() const { return mConnections; }

    /// Empty when every request was ordered and every order used.
    QStringList problems() const;

private:
    void onConnection();
    void onData(QTcpSocket* socket);
    void react(QTcpSocket* socket);

    QList<Reaction> mReactions;
    std::function<Reaction(const WireRequest&)> mAnswer;
    QList<WireRequest> mRequests;
    QHash<QTcpSocket*, QByteArray> mReceived;
    QStringList mProblems;
    int mConnections = 0;
    QTcpServer mServer; // ends first: its sockets still report to the others
};
