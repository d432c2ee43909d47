// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks for the user's profile.
class DownloadProfileRequest : public OAuthRequest
{
public:
    DownloadProfileRequest(ISignatureProvider& provider, QString const& accountId,
                           QString const& consumerKey, QString const& baseAddress,
                           NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mAccountId;
};

} // namespace KelRestHandler
