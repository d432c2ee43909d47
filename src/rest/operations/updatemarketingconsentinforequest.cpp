// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updatemarketingconsentinforequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateMarketingConsentInfoRequest::UpdateMarketingConsentInfoRequest(
    ISignatureProvider& provider, MarketingConsentInfo const& consent, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mConsent(consent),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString UpdateMarketingConsentInfoRequest::createXMLMessage()
{
    return MsgCreator::xmlUpdateMarketingConsent(mConsent);
}

QString UpdateMarketingConsentInfoRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/marketing");
}

QString UpdateMarketingConsentInfoRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool UpdateMarketingConsentInfoRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
