// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks which terms the user has accepted.
class RetrieveTermsAcceptanceRequest : public OAuthRequest
{
public:
    RetrieveTermsAcceptanceRequest(ISignatureProvider& provider, QString const& identifier,
                                   QString const& language, QString const& consumerKey,
                                   QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mIdentifier;
};

} // namespace KelRestHandler
