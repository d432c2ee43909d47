// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updatesecurityquestion.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateSecurityQuestion::UpdateSecurityQuestion(ISignatureProvider& provider,
                                               ProfileInfo const& profile, QString const& accountId,
                                               QString const& consumerKey,
                                               QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mProfile(profile),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString UpdateSecurityQuestion::createXMLMessage()
{
    return MsgCreator::xmlUpdateSecurityQuestion(mProfile);
}

QString UpdateSecurityQuestion::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/profile");
}

QString UpdateSecurityQuestion::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool UpdateSecurityQuestion::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
