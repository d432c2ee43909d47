// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/transporterror.h"

#include "rest/transport/replyfacts.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>

namespace KelRestHandler {

namespace {

// The network library wanted to send the request again, and could not. It wants to when the
// connection ended before the reply did, and when a redirect arrives, though none is followed.
QNetworkReply::NetworkError withoutSendingAgain(const QNetworkReply& reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isRedirect = status / 100 == 3;
    return isRedirect ? QNetworkReply::NoError : QNetworkReply::RemoteHostClosedError;
}

// No encoding was offered, since what it hides may be a thousand times as long.
bool isEncoded(const QNetworkReply& reply)
{
    const QByteArray encoding = reply.rawHeader("Content-Encoding").trimmed().toLower();
    return !encoding.isEmpty() && encoding != "identity";
}

} // namespace

ReplyEnding endingOf(const QNetworkReply& reply, const ReplyFacts& facts)
{
    if (facts.isFromWrongServer)
        return {QNetworkReply::SslHandshakeFailedError, true};
    if (facts.isOversized || isEncoded(reply))
        return {QNetworkReply::ProtocolFailure, true};
    if (facts.isProxyGone)
        return {QNetworkReply::ProxyConnectionClosedError, true};
    // As whatever else is no HTTP.
    if (facts.isTorn)
        return {QNetworkReply::RemoteHostClosedError, true};
    const QNetworkReply::NetworkError error = reply.error();
    return {error == QNetworkReply::ContentReSendError ? withoutSendingAgain(reply) : error, false};
}

// A reply without an error came from behind the handshake. With one it may be a proxy's; its
// certificate takes as long to ask for as all else that is asked of a reply.
bool cameInsideTls(const QNetworkReply& reply)
{
    return reply.url().scheme() == QLatin1String("https") &&
           (reply.error() == QNetworkReply::NoError ||
            !reply.sslConfiguration().peerCertificate().isNull());
}

} // namespace KelRestHandler
