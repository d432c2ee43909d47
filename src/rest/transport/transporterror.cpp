// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/transporterror.h"

#include "rest/transport/replyproperties.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>

namespace KelRestHandler {

namespace {

bool isMarked(const QNetworkReply& reply, const char* property)
{
    return reply.property(property).toBool();
}

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

bool wasRefused(const QNetworkReply& reply)
{
    return isMarked(reply, ReplyProperty::oversized) ||
           isMarked(reply, ReplyProperty::wrongServer) || isEncoded(reply);
}

QNetworkReply::NetworkError transportErrorOf(const QNetworkReply& reply)
{
    if (isMarked(reply, ReplyProperty::wrongServer))
        return QNetworkReply::SslHandshakeFailedError;
    if (wasRefused(reply))
        return QNetworkReply::ProtocolFailure;
    return reply.error() == QNetworkReply::ContentReSendError ? withoutSendingAgain(reply)
                                                              : reply.error();
}

bool cameInsideTls(const QNetworkReply& reply)
{
    return reply.url().scheme() == QLatin1String("https") && !wasRefused(reply) &&
           !reply.sslConfiguration().peerCertificate().isNull();
}

} // namespace KelRestHandler
