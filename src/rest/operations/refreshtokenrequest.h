// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<RefreshToken> : DescriptionDefaults
{
    using Request = class RefreshTokenRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::tokenUrl;
    static constexpr bool tokenIdentifies = true;
    static constexpr bool tokenSigns = true;
    static constexpr std::array roots{"tokenRefreshResponse"};
    static constexpr char creationFailure[] = "Token request object creation failed";
    static constexpr auto signal = &ServiceSignals::tokenRefreshResponse;
    static constexpr auto process = &NetworkResponseProcessor::processTokenResponse;

    static void read(TokenRefreshResponse& into, const QDomNode& element)
    {
        MsgParser::parseTokenResponseInfoNode(into.userName, into.tokenInfo, into.accountInfo,
                                              into.termsInfo, element);
    }
};

/// Renews the access token.
class RefreshTokenRequest : public RequestOf<RefreshToken>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
