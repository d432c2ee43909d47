// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/seams.h"

#include "matrix/faults.h"
#include "matrix/state.h"
#include "rest/request/serviceaddress.h"
#include "rest/transport/networkreplycontainer.h"

#include <QNetworkProxyFactory>

using namespace Matrix;

namespace {

/// The cell's host is behind a proxy when its fault is one of a proxy.
class Proxies : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        const QString host = query.peerHostName();
        const int mark = host.indexOf(QLatin1String("-s"));
        State* const state = sharedState();
        if (!state || mark < 0 || !host.endsWith(QLatin1String(domain)))
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        const int number = host.mid(mark + 2).section(QLatin1Char('.'), 0, 0).toInt();
        Slot& slot = state->places[number];
        const Kind kind = faults()[static_cast<size_t>(slot.fault.load())].kind;
        if (!isByProxy(kind))
            return {QNetworkProxy(QNetworkProxy::NoProxy)};
        // Nobody else sees it who asks for these.
        if (kind == Kind::ProxyUnknown || kind == Kind::ProxyRefused)
            ++slot.hits;
        const QString name = kind == Kind::ProxyUnknown ? QStringLiteral("proxy.invalid")
                                                        : QStringLiteral("127.0.0.1");
        const int port = kind == Kind::ProxyRefused ? slot.deadPort.load() : slot.proxyPort.load();
        return {QNetworkProxy(QNetworkProxy::HttpProxy, name, static_cast<quint16>(port))};
    }
};

} // namespace

namespace KelRestHandler {

const char RestSchemaNamespace[] = "https://account.example/schemas/rest/v1_0";
const char OAuthRealm[] = "OAuth realm=\"https://account.example\"";

QString serverBaseAddress(int serverIndex)
{
    static const bool areProxiesSet = [] {
        QNetworkProxyFactory::setApplicationProxyFactory(new Proxies);
        return true;
    }();
    Q_UNUSED(areProxiesSet)
    const State* const state = sharedState();
    if (!state)
        return {};
    if (state->guardMs > 0)
        NetworkReplyContainer::setGuardMilliseconds(state->guardMs);
    const int cell = serverIndex / slotCount;
    const int slot = serverIndex % slotCount;
    return QStringLiteral("https://c%1-s%2%3:%4/rest/1.0/")
        .arg(cell)
        .arg(slot)
        .arg(QLatin1String(domain))
        .arg(state->places[slot].port.load());
}

} // namespace KelRestHandler
