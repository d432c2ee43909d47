// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<DownloadProfile> : DescriptionDefaults
{
    using Request = class DownloadProfileRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/profile";
    static constexpr bool tokenSigns = true;
    static constexpr std::array roots{"profileQueryResponse"};
    static constexpr char creationFailure[] = "downloadProfileRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::downloadProfileResponse;
    static constexpr auto process = &NetworkResponseProcessor::processDownloadProfileResponse;

    static void read(DownloadProfileResponse& into, const QDomNode& element)
    {
        MsgParser::parseProfileQueryResponseNode(into.userName, into.profile, element);
    }
};

/// Asks for the user's profile.
class DownloadProfileRequest : public RequestOf<DownloadProfile, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
