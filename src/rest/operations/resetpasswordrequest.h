// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Sets a new password with a recovery token and the answer to the security question.
class ResetPasswordRequest : public OAuthRequest
{
public:
    ResetPasswordRequest(ISignatureProvider& provider, QString const& userId,
                         QString const& securityToken, QString const& newPassword,
                         QString const& securityAnswer, QString const& language,
                         QString const& consumerKey, QString const& baseAddress,
                         NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mUserId;
    KelAccount::SecretText mSecurityToken;
    KelAccount::SecretText mNewPassword;
    KelAccount::SecretText mSecurityAnswer;
};

} // namespace KelRestHandler
