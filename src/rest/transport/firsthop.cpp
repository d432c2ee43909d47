// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/firsthop.h"

#include <QNetworkProxy>

namespace KelRestHandler {

FirstHop firstHopTo(const QUrl& address)
{
    const auto proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(address));
    if (!proxies.isEmpty() && !proxies.first().hostName().isEmpty())
        return {proxies.first().hostName(), proxies.first().port()};
    constexpr int httpPort = 80;
    constexpr int httpsPort = 443;
    const int port =
        address.port(address.scheme() == QLatin1String("https") ? httpsPort : httpPort);
    return {address.host(), static_cast<quint16>(port)};
}

} // namespace KelRestHandler
