// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/changepasswordrequest.h"

#include "rest/operations/defaultlanguage.h"
#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

ChangePasswordRequest::ChangePasswordRequest(ISignatureProvider& provider, QString const& accountId,
                                             QString const& newPassword, QString const& consumerKey,
                                             QString const& baseAddress, NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, defaultLanguage()),
      mAccountId(accountId), mNewPassword(newPassword)
{
    createOAuthRequest();
}

QString ChangePasswordRequest::createXMLMessage()
{
    return MsgCreator::xmlChangePassword(mNewPassword);
}

QString ChangePasswordRequest::getRestURL()
{
    return RestUrlHelper::registrationUrl(baseAddress()) + inPath(mAccountId) +
           QLatin1String("/profile");
}

QString ChangePasswordRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool ChangePasswordRequest::isTokenRequired()
{
    return true;
}

} // namespace KelRestHandler
