// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks for the account that the service holds ready for the SIM.
class RetrievePreAccountInfoRequest : public OAuthRequest
{
public:
    RetrievePreAccountInfoRequest(ISignatureProvider& provider, QString const& consumerKey,
                                  QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    DeviceFacts mFacts;
};

} // namespace KelRestHandler
