// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/updateprofilerequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

UpdateProfileRequest::UpdateProfileRequest(ISignatureProvider& provider, ProfileInfo const& profile,
                                           QString const& accountId, QString const& consumerKey,
                                           QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()), mProfile(profile),
      mAccountId(accountId)
{
    createOAuthRequest();
}

QString UpdateProfileRequest::createXMLMessage()
{
    return MsgCreator::xmlUpdateProfile(mProfile);
}

QString UpdateProfileRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/profile");
}

QString UpdateProfileRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool UpdateProfileRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
