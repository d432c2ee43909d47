// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<ChangePassword> : DescriptionDefaults
{
    using Request = class ChangePasswordRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/profile";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "changePasswordRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::changePasswordResponse;
    static constexpr auto process = &NetworkResponseProcessor::processChangePasswordResponse;

    static QString document(const QString& /*accountId*/, const QString& newPassword)
    {
        return MsgCreator::xmlChangePassword(newPassword);
    }
};

/// Sets a new password for the account that the token belongs to.
class ChangePasswordRequest : public RequestOf<ChangePassword, QString, KelAccount::SecretText>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
