// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/operations/resetpasswordrequest.h"

#include "rest/request/msgcreator.h"
#include "rest/request/resturlhelper.h"

namespace KelRestHandler {

ResetPasswordRequest::ResetPasswordRequest(ISignatureProvider& provider, QString const& userId,
                                           QString const& securityToken, QString const& newPassword,
                                           QString const& securityAnswer, QString const& language,
                                           QString const& consumerKey, QString const& baseAddress,
                                           NetRequestType type)
    : OAuthRequest(provider, consumerKey, baseAddress, type, language), mUserId(userId),
      mSecurityToken(securityToken), mNewPassword(newPassword), mSecurityAnswer(securityAnswer)
{
    createOAuthRequest();
}

QString ResetPasswordRequest::createXMLMessage()
{
    return MsgCreator::xmlChangePasswordRequest(mSecurityToken, mNewPassword, mSecurityAnswer);
}

QString ResetPasswordRequest::getRestURL()
{
    return RestUrlHelper::passwordRecoveryUrl(baseAddress()) + inPath(mUserId) +
           QLatin1String("/change");
}

QString ResetPasswordRequest::getHttpRequestType()
{
    return QStringLiteral("PUT");
}

bool ResetPasswordRequest::isTokenRequired()
{
    return false;
}

} // namespace KelRestHandler
