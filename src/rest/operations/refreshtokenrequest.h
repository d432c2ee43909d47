// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Renews the access token.
class RefreshTokenRequest : public OAuthRequest
{
public:
    RefreshTokenRequest(ISignatureProvider& provider, QString const& consumerKey,
                        QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;
};

} // namespace KelRestHandler
