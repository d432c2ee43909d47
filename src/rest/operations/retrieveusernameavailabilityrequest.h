// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

#include <kelaccount/errorstatus.h>

namespace KelRestHandler {

template <>
struct Description<RetrieveUserNameAvailability> : DescriptionDefaults
{
    using Request = class RetrieveUserNameAvailabilityRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::availabilityUrl;
    static constexpr int identifier = 0;
    static constexpr std::array roots{"userNameAvailabilityResponse"};
    static constexpr char creationFailure[] = "Retreive Username request object creation failed";
    static constexpr auto signal = &ServiceSignals::userNameAvailabilityResponse;
    static constexpr auto process = &NetworkResponseProcessor::processUsernameAvailabilityResponse;

    static void answer(NetworkResponseProcessor& processor, HttpResponse* response)
    {
        QDomNode element;
        int status = processor.decide(response, element);
        UserNameAvailabilityResponse answer;
        answer.available = status == KelAccount::ErrorNone;
        // HTTP 422 with suggestions is how the service says that a name is taken.
        if (status == KelAccount::ErrorUnknownContent) {
            MsgParser::parseUserNameSuggestionsResponseNode(answer.suggestions, element);
            if (!answer.suggestions.isEmpty())
                status = KelAccount::ErrorNone;
        }
        processor.complete(answer, response, status);
        Q_EMIT processor.userNameAvailabilityResponse(answer);
    }
};

/// Asks whether a user name is free.
class RetrieveUserNameAvailabilityRequest : public RequestOf<RetrieveUserNameAvailability, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
