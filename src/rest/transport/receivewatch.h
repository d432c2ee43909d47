// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/transport/firsthop.h"
#include "rest/transport/receivedbytes.h"

#include <QHash>
#include <QNetworkReply>
#include <QObject>
#include <QSet>

#include <memory>

namespace KelRestHandler {

/// Where the replies of one manager arrive, as far as it is known from the replies before.
using KnownSockets = std::vector<ConnectedSocket>;

/// Ends a reply for which more arrives than any reply may have, counted below the network library.
///
/// The library tells nothing of the body of a 401 or 407, of headers that do not end, and of what a
/// proxy says before the tunnel stands; all of it is kept in memory until it is complete. So while
/// a reply is awaited, the kernel is asked now and then what has arrived at its socket. That is the
/// socket with the service's or the proxy's port which was not there when the request was posted,
/// or which the replies before have used. Where the host application opens a connection to the same
/// port at that very moment, both count, and the reply is only ended when both have received too
/// much.
///
/// A child of the reply; marks it as oversized before it ends it.
class ReceiveWatch : public QObject
{
    Q_OBJECT

public:
    /// What there was before a request was posted: its connection may stand when the reply is
    /// there.
    struct Before
    {
        FirstHop hop;
        bool isSearching;
        QHash<quint64, quint64> received; ///< by the socket's identity
        QSet<quint64> ofOthers;
    };
    /// When the connection of the replies before may be gone, sockets are looked for anew.
    static Before before(const QUrl& address, KnownSockets& known, bool isLikelyToReconnect);

    ReceiveWatch(QNetworkReply* reply, std::shared_ptr<KnownSockets> known, Before before);
    ~ReceiveWatch() override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void look();
    void search();
    KnownSockets socketsBeyond(quint64 bytes) const;
    int strangers() const;
    void onFinished();
    void endOversizedConnection();
    void forgetSilentSockets();

    QNetworkReply* mReply;
    std::shared_ptr<KnownSockets> mKnown;
    Before mBefore;
};

} // namespace KelRestHandler
