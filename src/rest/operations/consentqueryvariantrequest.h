// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks how the user is to be asked for marketing consent.
class ConsentQueryVariantRequest : public OAuthRequest
{
public:
    ConsentQueryVariantRequest(ISignatureProvider& provider, QString const& consumerKey,
                               QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    DeviceFacts mFacts;
};

} // namespace KelRestHandler
