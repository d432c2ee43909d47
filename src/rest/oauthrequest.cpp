// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/oauthrequest.h"

#include "rest/clientidentification.h"
#include "rest/cryptographicutils.h"
#include "rest/percentencoding.h"
#include "rest/serviceaddress.h"

#include <QUrlQuery>

namespace KelRestHandler {

namespace {

// Plain constants: a request may be made while static objects are still being constructed.
constexpr QLatin1String formField("XMLContent");
constexpr QLatin1String signatureMethod("HMAC-SHA1");
constexpr QLatin1String oauthVersion("1.0");

// name="value", without what separates it from the next parameter
void appendParameter(QByteArray& header, const char* name, const QString& value)
{
    header.append(name).append("=\"");
    appendPercentEncoded(header, value);
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
    setUrl(QUrl(url));

    const QString document = createXMLMessage();
    if (!document.isEmpty())
        setHttpBody(formField + QLatin1Char('=') + urlEncode(document));

    setTypeOfRequest(getHttpRequestType());

    QMap<QString, QString> headers = ClientIdentification::headers();
    headers.insert(QStringLiteral("Accept-Language"), mLanguage);
    headers.insert(QStringLiteral("Authorization"),
                   createOAuthHeader(url, document, QStringLiteral("POST")));
    headers.insert(QStringLiteral("Content-Type"),
                   QStringLiteral("application/x-www-form-urlencoded"));
    setHeaders(headers);
}

QString OAuthRequest::createOAuthHeader(QString const& url, QString const& body,
                                        QString const& verb)
{
    const QString timeStamp = getTimeStamp();
    const QString nonce = getNOnce();
    const bool tokenRequired = isTokenRequired();
    const QString base =
        createSignatureBase(nonce, timeStamp, url, body, verb, tokenRequired);
    const QString signature = mProvider.createSignature(mConsumerKey, base, tokenRequired);

    QByteArray header;
    header.reserve(512);
    // The realm brings its own closing quote and gets a second one: the service wants both.
    header.append(OAuthRealm).append("\", ");
    appendParameter(header, "oauth_consumer_key", mConsumerKey);
    header.append("\", ");
    appendParameter(header, "oauth_nonce", nonce);
    header.append("\", ");
    appendParameter(header, "oauth_timestamp", timeStamp);
    // The signature travels as plain base64, not percent-encoded.
    header.append("\", oauth_signature=\"").append(signature.toLatin1()).append("\", ");
    appendParameter(header, "oauth_signature_method", signatureMethod);
    header.append("\", ");
    appendParameter(header, "oauth_version", oauthVersion);
    header.append('"');

    if (tokenRequired) {
        const QString token = mProvider.getToken(mConsumerKey);
        if (!token.isEmpty()) {
            // No quote closes the token: this is how the service has always received it.
            header.append(", ");
            appendParameter(header, "oauth_token", token);
        }
    }
    return QString::fromLatin1(header);
}

QString OAuthRequest::createSignatureBase(QString const& nonce, QString const& timeStamp,
                                          QString const& url, QString const& body,
                                          QString const& verb, bool useToken)
{
    const QUrl address(url);

    QMap<QString, QString> parameters;
    const auto queryItems = QUrlQuery(address).queryItems(QUrl::FullyDecoded);
    for (const auto& item : queryItems)
        parameters.insert(item.first, item.second);
    parameters.insert(QStringLiteral("oauth_consumer_key"), mConsumerKey);
    parameters.insert(QStringLiteral("oauth_nonce"), nonce);
    parameters.insert(QStringLiteral("oauth_timestamp"), timeStamp);
    parameters.insert(QStringLiteral("oauth_signature_method"), signatureMethod);
    parameters.insert(QStringLiteral("oauth_version"), oauthVersion);
    if (useToken)
        parameters.insert(QStringLiteral("oauth_token"), mProvider.getToken(mConsumerKey));

    QByteArray base = verb.toUpper().toLatin1();
    base.append('&');
    appendPercentEncoded(base, address.scheme() + QLatin1String("://") + address.host()
                                   + address.path(QUrl::FullyDecoded));
    base.append('&');

    // Names and values are encoded, and the joined parameters once more; "=" and "&" become what
    // that second encoding makes of them.
    const char* separator = "";
    const auto appendPair = [&](const QString& name, const QString& value) {
        base.append(separator);
        appendDoublyPercentEncoded(base, name);
        base.append("%3D");
        appendDoublyPercentEncoded(base, value);
        separator = "%26";
    };
    if (!body.isEmpty())
        appendPair(formField, body);
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
        appendPair(it.key(), it.value());
    return QString::fromLatin1(base);
}

QString OAuthRequest::urlEncode(QString const& text)
{
    QByteArray encoded;
    appendPercentEncoded(encoded, text);
    return QString::fromLatin1(encoded);
}

QString OAuthRequest::getNOnce()
{
    return CryptographicUtils::getNOnce();
}

} // namespace KelRestHandler
