// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/oauthrequest.h"

#include "common/wipe.h"
#include "rest/request/addressvalue.h"
#include "rest/request/clientidentification.h"
#include "rest/request/cryptographicutils.h"
#include "rest/request/percentencoding.h"
#include "rest/request/serviceaddress.h"
#include "rest/request/signedaddress.h"

#include <QVarLengthArray>

#include <algorithm>

namespace KelRestHandler {

namespace {

// Room for everything but the document, in most requests
constexpr int headerLength = 512;
constexpr int baseLength = 512;

QString formBody(const QString& document)
{
    QString form = QStringLiteral("XMLContent=");
    appendPercentEncoded(form, document);
    return form;
}

// The network library normalises a path when it sends it, and with a segment like ".a" before
// another one it takes it for "." and drops it.
bool survivesSending(const QUrl& address)
{
    return !address.path().contains(QLatin1String("/.")) ||
           address.adjusted(QUrl::NormalizePathSegments) == address;
}

using Parameters = QVarLengthArray<QPair<QString, QString>, 8>;

// Puts query items among parameters that are in their order already. A name that occurs twice keeps
// its last value, and none takes the place of a parameter.
void addByName(Parameters& parameters, const QList<QPair<QString, QString>>& items)
{
    if (items.isEmpty())
        return;
    std::for_each(items.crbegin(), items.crend(),
                  [&](const auto& item) { parameters.append(item); });
    std::stable_sort(parameters.begin(), parameters.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    const auto end =
        std::unique(parameters.begin(), parameters.end(),
                    [](const auto& one, const auto& other) { return one.first == other.first; });
    parameters.resize(static_cast<int>(end - parameters.begin()));
}

} // namespace

OAuthRequest::OAuthRequest(ISignatureProvider& provider, QString const& consumerKey,
                           QString const& baseAddress, NetRequestType type, QString const& language)
    : HttpRequest(consumerKey, type), mConsumerKey(consumerKey), mBaseAddress(baseAddress),
      mLanguage(language), mProvider(provider)
{
}

OAuthRequest::~OAuthRequest() = default;

void OAuthRequest::createOAuthRequest()
{
    const QString url = getRestURL();
    const QUrl address(url);
    setUrl(address);
    mWellAddressed = mWellAddressed && survivesSending(address);

    QString document = createXMLMessage();
    if (!document.isEmpty())
        setHttpBody(formBody(document));

    setTypeOfRequest(getHttpRequestType());

    QMap<QString, QString> headers = ClientIdentification::headers();
    headers.insert(QStringLiteral("Accept-Language"), mLanguage);
    headers.insert(QStringLiteral("Authorization"),
                   createOAuthHeader(url, document, QStringLiteral("POST")));
    headers.insert(QStringLiteral("Content-Type"),
                   QStringLiteral("application/x-www-form-urlencoded"));
    setHeaders(headers);
    KelAccount::wipe(document);
}

QString OAuthRequest::createOAuthHeader(QString const& url, QString const& body,
                                        QString const& verb)
{
    const QString timeStamp = getTimeStamp();
    const QString nonce = getNOnce();
    const bool tokenRequired = isTokenRequired();
    QString base = createSignatureBase(nonce, timeStamp, url, body, verb, tokenRequired);
    const QString signature = mProvider.createSignature(mConsumerKey, base, tokenRequired);
    KelAccount::wipe(base); // the document is in it

    QString header;
    header.reserve(headerLength);
    // The realm brings its own closing quote and gets a second one: the service wants both.
    header += QLatin1String(OAuthRealm);
    header += QLatin1String("\", oauth_consumer_key=\"");
    appendPercentEncoded(header, mConsumerKey);
    header += QLatin1String("\", oauth_nonce=\"");
    appendPercentEncoded(header, nonce);
    header += QLatin1String("\", oauth_timestamp=\"");
    appendPercentEncoded(header, timeStamp);
    // The signature travels as plain base64, not percent-encoded.
    header += QLatin1String("\", oauth_signature=\"");
    header += signature;
    header += QLatin1String("\", oauth_signature_method=\"HMAC-SHA1\", oauth_version=\"1.0\"");

    if (tokenRequired) {
        const QString token = mProvider.getToken(mConsumerKey);
        if (!token.isEmpty()) {
            // No quote closes the token: this is how the service has always received it.
            header += QLatin1String(", oauth_token=\"");
            appendPercentEncoded(header, token);
        }
    }
    return header;
}

QString OAuthRequest::createSignatureBase(QString const& nonce, QString const& timeStamp,
                                          QString const& url, QString const& body,
                                          QString const& verb, bool useToken)
{
    const SignedAddress address = signedAddress(url);

    Parameters parameters{{QStringLiteral("oauth_consumer_key"), mConsumerKey},
                          {QStringLiteral("oauth_nonce"), nonce},
                          {QStringLiteral("oauth_signature_method"), QStringLiteral("HMAC-SHA1")},
                          {QStringLiteral("oauth_timestamp"), timeStamp}};
    if (useToken)
        parameters.append({QStringLiteral("oauth_token"), mProvider.getToken(mConsumerKey)});
    parameters.append({QStringLiteral("oauth_version"), QStringLiteral("1.0")});
    addByName(parameters, address.queryItems);

    QString base;
    base.reserve(baseLength);
    base += verb.toUpper();
    base += QLatin1Char('&');
    appendPercentEncoded(base, address.withoutQuery);
    base += QLatin1Char('&');

    // Names and values are encoded, and the joined parameters once more; "=" and "&" become what
    // that second encoding makes of them.
    QLatin1String separator("");
    const auto appendPair = [&](const QString& name, const QString& value) {
        base += separator;
        appendDoublyPercentEncoded(base, name);
        base += QLatin1String("%3D");
        appendDoublyPercentEncoded(base, value);
        separator = QLatin1String("%26");
    };
    if (!body.isEmpty())
        appendPair(QStringLiteral("XMLContent"), body);
    for (const auto& parameter : parameters)
        appendPair(parameter.first, parameter.second);
    return base;
}

QString OAuthRequest::inPath(QString const& value)
{
    mWellAddressed = mWellAddressed && isWholeInPath(value);
    return value;
}

QString OAuthRequest::inQuery(QString const& value)
{
    mWellAddressed = mWellAddressed && isWholeInQuery(value);
    return value;
}

QString OAuthRequest::urlEncode(QString const& text)
{
    QString encoded;
    appendPercentEncoded(encoded, text);
    return encoded;
}

QString OAuthRequest::getNOnce()
{
    return CryptographicUtils::getNOnce();
}

} // namespace KelRestHandler
