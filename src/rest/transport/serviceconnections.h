// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/transport/receivewatch.h"

#include <QByteArray>
#include <QHash>
#include <QNetworkAccessManager>
#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace KelRestHandler {

/// Chooses the manager that posts a request, so that its connection is a checked and a fresh one.
///
/// A server is checked when its connection reports `encrypted`, which it does for the request that
/// waits for it. So no connection may come about for which no request waits: a later request would
/// leave on it unchecked. With one request at a time a manager opens none; with more it opens
/// connections before it knows which it will need. Requests at the same time therefore get managers
/// of their own, up to as many as the network library has connections to a host; further ones have
/// to wait. A connection that is prepared has a request that waits for it, too: one that only opens
/// it. A manager whose request ended without a reply makes a new connection, since the one that it
/// was making may be completed all the same; not before the request's reply is deleted.
///
/// A connection that is made anew resumes the TLS session of one before, where the server lets it:
/// no certificates are sent then, and nothing is signed. Whom the session was made with was found
/// out in the handshake that began it, not long ago, and is checked again.
///
/// A connection that was idle for longer than services keep them is not used again, either. Were
/// it, the service might close it while the request is on its way, and the request, which goes out
/// once, would be answered with an error. One that was fresh enough when isFree() said so takes the
/// request that is posted thereupon all the same.
class ServiceConnections : public QObject
{
    Q_OBJECT

public:
    /// 5 s is the shortest time for which common servers keep a connection; a request and what the
    /// service said last may each take half a second on their way.
    static constexpr int idleMilliseconds = 4000;
    static constexpr int maximumManagers = 6;
    /// What a connection may take to be prepared. On a network that is slower than this, whoever
    /// waits for it is better off with a connection of its own.
    static constexpr int preparingMilliseconds = 4000;
    /// For how long a server need not show its certificate again.
    static constexpr int sessionMilliseconds = 10 * 60 * 1000;

    using SetUp = std::function<void(QNetworkAccessManager*)>;

    /// `first` stays the caller's; `setUp` is called for it and for every further manager.
    ServiceConnections(QNetworkAccessManager* first, SetUp setUp, QObject* parent);
    ~ServiceConnections() override;

    /// Whether a request can be posted now.
    bool isFree() const;
    /// The same, over a connection that stands.
    bool isReady() const;

    /// Opens a connection to the service, so that the next request finds it standing. prepared()
    /// follows once; nothing does when no manager is free.
    void prepare(const QUrl& service);
    /// How many are being prepared. Each is worth waiting for by one request.
    int preparing() const;
    /// For how long from now on there is a connection to the service that a request can use, in
    /// milliseconds, counting one that is busy as if it ended now.
    int millisecondsReady(const QUrl& service) const;

    /// Null when none can be.
    QNetworkReply* post(const QNetworkRequest& request, const QByteArray& body);

    /// The reply of that request that has not been deleted yet, or null.
    QNetworkReply* replyTo(int requestId) const;

    /// Changes the limit for posts from now on, for tests.
    static void setIdleMilliseconds(int milliseconds);
    static int currentIdleMilliseconds();
    /// The same for what is prepared from now on.
    static void setPreparingMilliseconds(int milliseconds);

Q_SIGNALS:
    /// A request has ended, or its reply is gone.
    void freed();
    /// How the opening of a connection ended.
    void prepared(bool stands);

private:
    struct Line
    {
        QNetworkAccessManager* manager;
        std::unique_ptr<QNetworkAccessManager> owned; ///< null for the first
        bool isBusy = false;
        bool isPreparing = false; ///< busy with that
        bool stands = false;      ///< has a connection, as far as replies tell
        bool isUnsure = false;    ///< may have a connection that nobody has checked
        qint64 idleSince = 0;
        qint64 lookedAt = 0;        ///< when the kernel was asked about its sockets
        bool isCut = false;         ///< what it said
        QString server;             ///< that its connection leads to
        bool hasNewSession = false; ///< of TLS, which its next reply tells
        std::shared_ptr<KnownSockets> sockets = std::make_shared<KnownSockets>();
    };

    /// Of TLS, to be resumed.
    struct Session
    {
        QByteArray ticket;
        qint64 since; ///< the handshake in which the server showed its certificate
    };

    Line* lineForPost();
    Line* lineForPreparing();
    Line* newLine();
    static void reconnectIfDue(Line& line);
    QNetworkRequest resuming(Line& line, const QNetworkRequest& request);
    void keepSession(Line& line, const QNetworkReply& reply);
    void dropIdleManagers();
    void onFinished(Line& line, const QNetworkReply& reply);
    void onPrepared(Line& line, QNetworkReply* reply);
    void onDeleted(const Line& line);
    Line& makeLine(QNetworkAccessManager* manager);
    static bool isTooOld(const Line& line);
    static bool isCut(Line& line);
    static bool mustReconnect(Line& line);
    static QList<QNetworkReply*> repliesOf(const Line& line);
    static bool isUsable(Line& line);
    static bool isReady(Line& line);

    SetUp mSetUp;
    std::vector<std::unique_ptr<Line>> mLines;
    QHash<QString, Session> mSessions; ///< by server
    /// Hears when a reply is gone. It ends before the lines: what they take along need not be
    /// heard.
    QObject mReplies{this};
};

} // namespace KelRestHandler
