// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/profileinfodata.h"
#include "rest/records/registrationinfodata.h"
#include "rest/records/securityquestiondata.h"
#include "signon/zorauthsessiondata.h"

namespace ZorKeLSignOn {

/// The data of the mechanisms that the plugin keeps for this library.
class ZorAuthSessionPrivateData : public ZorAuthSessionData
{
public:
    SIGNON_SESSION_DECLARE_PROPERTY(QString, OldPassword)
    SIGNON_SESSION_DECLARE_PROPERTY(QString, NewPassword)
    SIGNON_SESSION_DECLARE_PROPERTY(QString, NewUserName)

    /// Under "RegistrationData": the record, serialised.
    void setRegistrationData(const KelRestHandler::RegistrationInfoData& registration);

    /// Under "UpdateSecurityQuestion": the question, then the answer, serialised.
    void setUpdateSecurityQuestion(const KelRestHandler::SetSecurityQuestionInput& input);

    /// The profile that the plugin downloaded; an empty one when the answer holds none.
    KelRestHandler::ProfileInfoData DownloadedProfile() const;
};

} // namespace ZorKeLSignOn
