// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<SignIn> : DescriptionDefaults
{
    using Request = class SignInRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::signInUrl;
    static constexpr std::array roots{"tokenCreationResponse"};
    static constexpr char creationFailure[] = "SignInRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::signInResponse;
    static constexpr auto process = &NetworkResponseProcessor::processSignInResponse;

    static constexpr bool takesTokensTime = true;

    static QString document(OAuthRequest& request, const QString& userName, const QString& password)
    {
        return MsgCreator::xmlTokenCreation(userName, password, request.getTimeStamp());
    }
    static void read(TokenCreationResponse& into, const QDomNode& element)
    {
        MsgParser::parseTokenResponseInfoNode(into.userName, into.tokenInfo, into.accountInfo,
                                              into.termsInfo, element);
    }
};

/// Creates an access token from a user's name and password. The password itself is not sent: a
/// digest over it, a nonce and the time stands for it.
class SignInRequest : public RequestOf<SignIn, QString, KelAccount::SecretText>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
