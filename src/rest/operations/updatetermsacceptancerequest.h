// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/plainrecords.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Records which terms the user accepts. A POST, unlike other updates: the service wants it so.
class UpdateTermsAcceptanceRequest : public OAuthRequest
{
public:
    UpdateTermsAcceptanceRequest(ISignatureProvider& provider,
                                 TermsAcceptanceData const& acceptance, QString const& identifier,
                                 QString const& consumerKey, QString const& baseAddress,
                                 NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    TermsAcceptanceData mAcceptance;
    QString mIdentifier;
};

} // namespace KelRestHandler
