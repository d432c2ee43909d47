// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/proxywatch.h"

#include "rest/transport/endreply.h"
#include "rest/transport/hostlookup.h"
#include "rest/transport/receivedbytes.h"
#include "rest/transport/replyfacts.h"

#include <QTimerEvent>

#include <utility>

namespace KelRestHandler {

namespace {

constexpr int lookEveryMs = 100;
// By number of looks: a process that stood still has not looked. Longer than the network library
// takes from one address of the proxy to the next, also on a busy device.
constexpr int looksInVain = 30;

} // namespace

ProxyWatch::ProxyWatch(QNetworkReply* reply, FirstHop proxy, QSet<quint64> ofOthers)
    : QObject(reply), mReply(reply), mProxy(std::move(proxy)), mOfOthers(std::move(ofOthers))
{
    connect(reply, &QNetworkReply::encrypted, this, [this] { mIsEncrypted = true; });
    startTimer(lookEveryMs);
}

void ProxyWatch::timerEvent(QTimerEvent* event)
{
    if (mIsEncrypted || mReply->isFinished()) {
        killTimer(event->timerId());
        return;
    }
    if (mayBeConnected(mProxy.port, mOfOthers)) {
        mLooks = 0;
        return;
    }
    if (!mIsNameFound) {
        findName();
        return;
    }
    if (++mLooks < looksInVain)
        return;
    killTimer(event->timerId());
    const auto facts = factsOf(*mReply);
    if (facts)
        facts->isProxyGone = true;
    endReply(*mReply);
}

// Whoever asked for the same name before is answered first.
void ProxyWatch::findName()
{
    if (!std::exchange(mIsFindingName, true))
        HostLookup::start(mProxy.host, this,
                          [this](const QHostInfo& /*info*/) { mIsNameFound = true; });
}

} // namespace KelRestHandler
