// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/transport/firsthop.h"

#include <QNetworkReply>
#include <QObject>
#include <QSet>

namespace KelRestHandler {

/// Ends a reply whose proxy has hung up before the tunnel stood.
///
/// The network library notices the end and tries again by a list that the request is not in yet, so
/// that nothing follows and nobody hears of it. What can be seen from outside is that there is no
/// connection, and none in the making, though the proxy's name is known: for longer than any pause
/// between two attempts.
///
/// A child of the reply; marks it before it ends it.
class ProxyWatch : public QObject
{
    Q_OBJECT

public:
    /// @param ofOthers  sockets to the same port from before the request
    ProxyWatch(QNetworkReply* reply, FirstHop proxy, QSet<quint64> ofOthers);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    void findName();

    QNetworkReply* mReply;
    FirstHop mProxy;
    QSet<quint64> mOfOthers;
    bool mIsFindingName = false;
    bool mIsNameFound = false;
    bool mIsEncrypted = false;
    int mLooks = 0; ///< that found nothing, one after the other
};

} // namespace KelRestHandler
