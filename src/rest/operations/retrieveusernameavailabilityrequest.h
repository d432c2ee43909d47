// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks whether a user name is free.
class RetrieveUserNameAvailabilityRequest : public OAuthRequest
{
public:
    RetrieveUserNameAvailabilityRequest(ISignatureProvider& provider, QString const& userName,
                                        QString const& consumerKey, QString const& baseAddress,
                                        NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mUserName;
};

} // namespace KelRestHandler
