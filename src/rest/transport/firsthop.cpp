// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/firsthop.h"

#include <QNetworkProxy>

namespace KelRestHandler {

quint16 portOf(const QUrl& address)
{
    constexpr int httpPort = 80;
    constexpr int httpsPort = 443;
    return static_cast<quint16>(
        address.port(address.scheme() == QLatin1String("https") ? httpsPort : httpPort));
}

FirstHop firstHopTo(const QUrl& address)
{
    const auto proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(address));
    if (!proxies.isEmpty() && !proxies.first().hostName().isEmpty())
        return {proxies.first().hostName(), proxies.first().port(),
                proxies.first().type() == QNetworkProxy::HttpProxy &&
                    address.scheme().endsWith(QLatin1String("https"))};
    return {address.host(), portOf(address)};
}

} // namespace KelRestHandler
