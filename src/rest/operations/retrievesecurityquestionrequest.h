// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveSecurityQuestion> : DescriptionDefaults
{
    using Request = class RetrieveSecurityQuestionRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::passwordRecoveryUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/question";
    static constexpr int language = 1;
    static constexpr std::array roots{"simplifiedPasswordQuestionResponse"};
    static constexpr char creationFailure[] =
        "retrieveSecurityQuestionRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::retrieveSecurityQuestionResponse;
    static constexpr auto process =
        &NetworkResponseProcessor::processRetrieveSecuirtyQuestonResponse;

    static void read(SecurityQuestionResponse& into, const QDomNode& element)
    {
        MsgParser::parseSecurityQuestionResponse(into.securityQuestion, element);
    }
};

/// Asks for the security question of a user, in a language.
class RetrieveSecurityQuestionRequest : public RequestOf<RetrieveSecurityQuestion, QString, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
