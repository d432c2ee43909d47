// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/profileinfo.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateSecurityQuestionType> : DescriptionDefaults
{
    using Request = class UpdateSecurityQuestion;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 1;
    static constexpr char tail[] = "/profile";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "updateProfileRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::updateSecurityQuestionResponse;
    static constexpr auto process =
        &NetworkResponseProcessor::processUpdateSecurityQuestionResponse;

    static QString document(const ProfileInfo& profile, const QString& /*accountId*/)
    {
        return MsgCreator::xmlUpdateSecurityQuestion(profile);
    }
};

/// Changes the user's security question and its answer.
class UpdateSecurityQuestion : public RequestOf<UpdateSecurityQuestionType, ProfileInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
