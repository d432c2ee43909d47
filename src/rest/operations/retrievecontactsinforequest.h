// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveContactsInfo> : DescriptionDefaults
{
    using Request = class RetrieveContactsInfoRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/contacts";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "retrieveContactsInfoRequest object creation failed";
};

/// Asks for the ways to reach the user.
class RetrieveContactsInfoRequest : public RequestOf<RetrieveContactsInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
