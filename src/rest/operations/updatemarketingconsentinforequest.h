// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/plainrecords.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Changes what marketing the user consents to.
class UpdateMarketingConsentInfoRequest : public OAuthRequest
{
public:
    UpdateMarketingConsentInfoRequest(ISignatureProvider& provider,
                                      MarketingConsentInfo const& consent, QString const& accountId,
                                      QString const& consumerKey, QString const& baseAddress,
                                      NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    MarketingConsentInfo mConsent;
    QString mAccountId;
};

} // namespace KelRestHandler
