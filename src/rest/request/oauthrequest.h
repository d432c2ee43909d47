// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/httprequest.h"
#include "rest/request/isignatureprovider.h"

#include <QString>

namespace KelRestHandler {

/// Base of the operation classes: asks its subclass for address, verb and document, and makes a
/// signed request of them (OAuth 1.0, RFC 5849, HMAC-SHA1).
///
/// Every request goes over the wire as an HTTP POST with its REST verb in the "rest-verb" header,
/// and the service verifies the signature against POST; so the signature is always made for POST.
class OAuthRequest : public HttpRequest
{
public:
    /// `baseAddress` is kept for subclasses; `language` becomes the "Accept-Language" header.
    /// The provider must outlive the request.
    OAuthRequest(ISignatureProvider& provider, QString const& consumerKey,
                 QString const& baseAddress, NetRequestType type, QString const& language);
    OAuthRequest(OAuthRequest const& other) = default;
    OAuthRequest& operator=(OAuthRequest const&) = delete;
    ~OAuthRequest() override;

    /// The operation's XML document; empty for an operation without one.
    virtual QString createXMLMessage() = 0;
    /// The operation's full address, query included.
    virtual QString getRestURL() = 0;
    /// "GET", "PUT", "POST" or "DELETE".
    virtual QString getHttpRequestType() = 0;
    /// Whether the access token takes part in signature and header.
    virtual bool isTokenRequired() = 0;

    /// Fills address, body, verb and headers. Every operation class calls it as the last step of
    /// its own constructor.
    void createOAuthRequest();

    /// Value of the "Authorization" header. `body` is the XML document itself, not the form.
    QString createOAuthHeader(QString const& url, QString const& body, QString const& verb);

    /// Signature base string (RFC 5849 section 3.4.1), with the service's own parameter order: the
    /// document first, then everything else by name.
    QString createSignatureBase(QString const& nonce, QString const& timeStamp, QString const& url,
                                QString const& body, QString const& verb, bool useToken);

    /// Whether the address is the one that the operation means: every value in it is whole, see
    /// addressvalue.h. A request without must not be sent.
    bool isWellAddressed() const { return mWellAddressed; }

    static QString urlEncode(QString const& text);

    static QString getNOnce();
    QString getTimeStamp() { return mProvider.getTimeStamp(); }
    QString getLanguage() const { return mLanguage; }

protected:
    QString baseAddress() const { return mBaseAddress; }
    ISignatureProvider& provider() const { return mProvider; }

    /// The value as it is. getRestURL() passes every value through one of these that it takes from
    /// outside, so that isWellAddressed() knows of it.
    QString inPath(QString const& value);
    QString inQuery(QString const& value);

private:
    QString mConsumerKey;
    QString mBaseAddress;
    QString mLanguage;
    ISignatureProvider& mProvider;
    bool mWellAddressed = true;
};

} // namespace KelRestHandler
