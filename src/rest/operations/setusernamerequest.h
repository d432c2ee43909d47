// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<SetUserName> : DescriptionDefaults
{
    using Request = class SetUserNameRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/profile";
    static constexpr bool tokenSigns = true;
    static constexpr std::array roots{"profileUpdateResponse"};
    static constexpr char creationFailure[] = "setUsrNameRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::setUserIdResponse;
    static constexpr auto process = &NetworkResponseProcessor::processSetUserNameResponse;

    static QString document(const QString& /*accountId*/, const QString& newUserName)
    {
        return MsgCreator::xmlUpdateUserName(newUserName);
    }
    static void read(DownloadProfileResponse& into, const QDomNode& element)
    {
        MsgParser::parseProfileUpdateResponseNode(into.userName, into.profile, element);
    }
};

/// Gives the account a user name.
class SetUserNameRequest : public RequestOf<SetUserName, QString, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
