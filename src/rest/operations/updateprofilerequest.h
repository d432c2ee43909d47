// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/profileinfo.h"
#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Changes the user's profile.
class UpdateProfileRequest : public OAuthRequest
{
public:
    UpdateProfileRequest(ISignatureProvider& provider, ProfileInfo const& profile,
                         QString const& accountId, QString const& consumerKey,
                         QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    ProfileInfo mProfile;
    QString mAccountId;
};

} // namespace KelRestHandler
