// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/retrievemarketingconsentinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

RetrieveMarketingConsentInfoRequest::RetrieveMarketingConsentInfoRequest(
    ISignatureProvider& provider, QString const& accountId, QString const& consumerKey,
    QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString RetrieveMarketingConsentInfoRequest::createXMLMessage()
{
    return {};
}

QString RetrieveMarketingConsentInfoRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/marketing");
}

QString RetrieveMarketingConsentInfoRequest::getHttpRequestType()
{
    return QStringLiteral("GET");
}

bool RetrieveMarketingConsentInfoRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
