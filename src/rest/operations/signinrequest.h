// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Creates an access token from a user's name and password. The password itself is not sent: a
/// digest over it, a nonce and the time stands for it.
class SignInRequest : public OAuthRequest
{
public:
    SignInRequest(ISignatureProvider& provider, QString const& userName, QString const& password,
                  QString const& consumerKey, QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mUserName;
    KelAccount::SecretText mPassword;
};

} // namespace KelRestHandler
