// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<ResetPassword> : DescriptionDefaults
{
    using Request = class ResetPasswordRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::passwordRecoveryUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/change";
    static constexpr int language = 4;
    static constexpr std::array roots{"simplifiedChangePasswordResponse"};
    static constexpr char creationFailure[] = "resetPasswordRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::passwordResetResponse;
    static constexpr auto process =
        &NetworkResponseProcessor::processResetPasswordUsingSecurityQuestionResponse;

    static QString document(const QString& /*userId*/, const QString& securityToken,
                            const QString& newPassword, const QString& securityAnswer,
                            const QString& /*language*/)
    {
        return MsgCreator::xmlChangePasswordRequest(securityToken, newPassword, securityAnswer);
    }
};

/// Sets a new password with a recovery token and the answer to the security question.
class ResetPasswordRequest
    : public RequestOf<ResetPassword, QString, KelAccount::SecretText, KelAccount::SecretText,
                       KelAccount::SecretText, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
