// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/consentqueryvariantrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

ConsentQueryVariantRequest::ConsentQueryVariantRequest(ISignatureProvider& provider,
                                                       QString const& consumerKey,
                                                       QString const& baseAddress,
                                                       NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mFacts(DeviceFacts::read())
{
    createOAuthRequest();
}

QString ConsentQueryVariantRequest::createXMLMessage()
{
    // The document takes the hash as printable text.
    return MsgCreator::xmlConsentQueryVariant(QString(), mFacts.imei, mFacts.mcc, mFacts.mnc,
                                              mFacts.hashedMsin.toBase64());
}

QString ConsentQueryVariantRequest::getRestURL()
{
    return RestUrlHelper::consentQueryVariantUrl(baseAddress());
}

QString ConsentQueryVariantRequest::getHttpRequestType()
{
    return QStringLiteral("POST");
}

bool ConsentQueryVariantRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
