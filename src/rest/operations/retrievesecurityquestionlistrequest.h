// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/oauthrequest.h"

namespace KelRestHandler {

/// Asks for the security questions to choose from, in a language.
class RetrieveSecurityQuestionListRequest : public OAuthRequest
{
public:
    RetrieveSecurityQuestionListRequest(ISignatureProvider& provider, QString const& language,
                                        QString const& consumerKey, QString const& baseAddress,
                                        NetRequestType type);

    QString createXMLMessage() override;
    QString getRestURL() override;
    QString getHttpRequestType() override;
    bool isTokenRequired() override;
};

} // namespace KelRestHandler
