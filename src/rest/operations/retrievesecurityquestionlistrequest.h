// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveSecurityQuestionList> : DescriptionDefaults
{
    using Request = class RetrieveSecurityQuestionListRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::securityQuestionsUrl;
    static constexpr int language = 0;
    static constexpr std::array roots{"securityQuestionsResponse"};
    static constexpr char creationFailure[] = "Security question request object creation failed";
    static constexpr auto signal = &ServiceSignals::retrieveSecQueListResponse;
    static constexpr auto process = &NetworkResponseProcessor::processRetrieveSecQueListResponse;

    static void read(QVariantMap& into, AnswerDetails& details, const QDomNode& element)
    {
        MsgParser::parseOrderedSecurityQuestions(into, details.order, element);
    }
};

/// Asks for the security questions to choose from, in a language.
class RetrieveSecurityQuestionListRequest : public RequestOf<RetrieveSecurityQuestionList, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
