// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/messagemaker.h"

#include "rest/transport/replyfacts.h"

#include <algorithm>

namespace KelRestHandler {

namespace {

const QString& signature()
{
    static const QString name = QStringLiteral("Authorization");
    return name;
}

// A language comes from the application: a line break in it must not start a header of its own. An
// empty value is sent as one; a null value would remove the header.
QByteArray headerBytes(const QString& text)
{
    QByteArray bytes = text.isEmpty() ? QByteArray("") : text.toLatin1();
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    bytes.truncate(
        static_cast<int>(std::remove_if(bytes.begin(), bytes.end(), isControl) - bytes.begin()));
    return bytes;
}

} // namespace

MessageMaker::MessageMaker()
{
    // What is compressed may be a thousand times as long as what was received.
    mBare.setRawHeader("Accept-Encoding", "identity");
    mBare.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    // Else a challenge for NTLM or Negotiate would be answered by itself, in place of the
    // signature.
    mBare.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    // Both are so by default in Qt 5, and not in Qt 6. A signature is for one address; and what is
    // watched and counted is a connection with one request.
    mBare.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                       QNetworkRequest::ManualRedirectPolicy);
    mBare.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    keep({}, QString());
}

// What is kept is never asked for anything: the network library would keep its answers with it.
QNetworkRequest MessageMaker::messageFor(const HttpRequest& request)
{
    const QMap<QString, QString> headers = request.getHeaders();
    const QString verb = request.getTypOfRequest();
    if (!isAsBefore(headers, verb))
        keep(headers, verb);
    QNetworkRequest message = mUsual;
    message.setUrl(request.getUrl());
    const auto authorization = headers.constFind(signature());
    if (authorization != headers.constEnd())
        message.setRawHeader("Authorization", headerBytes(*authorization));
    attachFacts(message, std::make_shared<ReplyFacts>());
    return message;
}

bool MessageMaker::isAsBefore(const QMap<QString, QString>& headers, const QString& verb) const
{
    auto kept = mHeaders.begin();
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        if (it.key() == signature())
            continue;
        if (kept == mHeaders.end() || kept->first != it.key() || kept->second != it.value())
            return false;
        ++kept;
    }
    return kept == mHeaders.end() && verb == mVerb;
}

void MessageMaker::keep(const QMap<QString, QString>& headers, const QString& verb)
{
    mUsual = mBare;
    mVerb = verb;
    mUsual.setRawHeader("rest-verb", verb.toLatin1());
    mHeaders.clear();
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        if (it.key() == signature())
            continue;
        mHeaders.emplace_back(it.key(), it.value());
        mUsual.setRawHeader(it.key().toLatin1(), headerBytes(it.value()));
    }
}

} // namespace KelRestHandler
