// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/profileinfo.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateProfile> : DescriptionDefaults
{
    using Request = class UpdateProfileRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 1;
    static constexpr char tail[] = "/profile";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "updateProfileRequest object creation failed";

    static QString document(const ProfileInfo& profile, const QString& /*accountId*/)
    {
        return MsgCreator::xmlUpdateProfile(profile);
    }
};

/// Changes the user's profile.
class UpdateProfileRequest : public RequestOf<UpdateProfile, ProfileInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
