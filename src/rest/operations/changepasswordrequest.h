// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Sets a new password for the account that the token belongs to.
class ChangePasswordRequest : public OAuthRequest
{
public:
    ChangePasswordRequest(ISignatureProvider& provider, QString const& accountId,
                          QString const& newPassword, QString const& consumerKey,
                          QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mAccountId;
    KelAccount::SecretText mNewPassword;
};

} // namespace KelRestHandler
