// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Ends the access token.
class DeleteTokenRequest : public OAuthRequest
{
public:
    DeleteTokenRequest(ISignatureProvider& provider, QString const& consumerKey,
                       QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;
};

} // namespace KelRestHandler
