// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/devicefacts.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Tells the service which device and SIM the account is used with. A POST, unlike other updates:
/// the service wants it so.
class UpdateDeviceInfoRequest : public OAuthRequest
{
public:
    UpdateDeviceInfoRequest(ISignatureProvider& provider, QString const& accountId,
                            QString const& consumerKey, QString const& baseAddress,
                            NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mAccountId;
    DeviceFacts mFacts;
};

} // namespace KelRestHandler
