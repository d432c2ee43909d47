// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Gives the account a user name.
class SetUserNameRequest : public OAuthRequest
{
public:
    SetUserNameRequest(ISignatureProvider& provider, QString const& accountId,
                       QString const& newUserName, QString const& consumerKey,
                       QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mAccountId;
    QString mNewUserName;
};

} // namespace KelRestHandler
