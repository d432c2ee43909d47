// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks for the security question of a user, in a language.
class RetrieveSecurityQuestionRequest : public OAuthRequest
{
public:
    RetrieveSecurityQuestionRequest(ISignatureProvider& provider, QString const& userId,
                                    QString const& language, QString const& consumerKey,
                                    QString const& baseAddress, NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;

private:
    QString mUserId;
};

} // namespace KelRestHandler
