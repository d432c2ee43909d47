// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/signedrequest.h"

#include "rest/request/servicehosts.h"

#include <QDateTime>
#include <QUuid>

#include <algorithm>
#include <cstdlib>
#include <oauth.h>

SignedRequest::SignedRequest(const QByteArray& requestPath)
    : host(KELACCOUNT_HOST_PRODUCTION), path(requestPath),
      nonce(QUuid::createUuid().toString().toLatin1()),
      timeStamp(QByteArray::number(QDateTime::currentSecsSinceEpoch()))
{
}

QByteArray SignedRequest::encoded(const QByteArray& text)
{
    char* const result = oauth_url_escape(text.constData());
    const QByteArray copy(result);
    std::free(result);
    return copy;
}

QByteArray SignedRequest::hmac(const QByteArray& message, const QByteArray& key)
{
    char* const result = oauth_sign_hmac_sha1(message.constData(), key.constData());
    const QByteArray copy(result);
    std::free(result);
    return copy;
}

SignedRequest::Pairs SignedRequest::parameters() const
{
    Pairs pairs = query;
    pairs += Pairs{{"oauth_consumer_key", consumerKey},
                   {"oauth_nonce", nonce},
                   {"oauth_timestamp", timeStamp},
                   {"oauth_signature_method", signatureMethod},
                   {"oauth_version", version}};
    if (!token.isNull())
        pairs.append({"oauth_token", token});
    std::sort(pairs.begin(), pairs.end());
    if (!document.isEmpty())
        pairs.prepend({"XMLContent", document});
    return pairs;
}

QByteArray SignedRequest::address() const
{
    return "https://" + host + path;
}

QByteArray SignedRequest::joined(const Pairs& parameters)
{
    QByteArray text;
    for (const auto& pair : parameters)
        text += (text.isEmpty() ? "" : "&") + encoded(pair.first) + '=' + encoded(pair.second);
    return text;
}

QByteArray SignedRequest::baseString() const
{
    return "POST&" + encoded(address()) + '&' + encoded(joined(parameters()));
}

QByteArray SignedRequest::authorization(const QByteArray& signature) const
{
    const QByteArray end = "\", ";
    QByteArray header = "OAuth realm=\"https://" KELACCOUNT_HOST_PRODUCTION "\"\", ";
    header += "oauth_consumer_key=\"" + encoded(consumerKey) + end;
    header += "oauth_nonce=\"" + encoded(nonce) + end;
    header += "oauth_timestamp=\"" + encoded(timeStamp) + end;
    header +=
        "oauth_signature=\"" + (signature.isEmpty() ? hmac(baseString(), key()) : signature) + end;
    header += "oauth_signature_method=\"" + encoded(signatureMethod) + end;
    header += "oauth_version=\"" + encoded(version) + '"';
    if (!token.isNull())
        header += ", oauth_token=\"" + encoded(token);
    return header;
}

QByteArray SignedRequest::target() const
{
    // "/" stands between pieces, everything else of a path is encoded.
    QByteArray text = encoded(path).replace("%2F", "/");
    const char* separator = "?";
    for (const auto& pair : query) {
        text += separator + encoded(pair.first) + '=' + encoded(pair.second);
        separator = "&";
    }
    return text;
}

QByteArray SignedRequest::body() const
{
    return document.isEmpty() ? QByteArray() : "XMLContent=" + encoded(document);
}

QByteArray SignedRequest::bytes(const QByteArray& authorizationHeader) const
{
    const QByteArray form = body();
    const QByteArray header = authorizationHeader.isEmpty() ? authorization() : authorizationHeader;
    return httpMethod + ' ' + target() + " HTTP/1.1\r\nHost: " + host +
           "\r\nAccept-Language: " + language + "\r\nAuthorization: " + header +
           "\r\nContent-Type: " + contentType + "\r\nrest-verb: " + restVerb +
           "\r\nContent-Length: " + QByteArray::number(form.size()) + "\r\n\r\n" + form;
}
