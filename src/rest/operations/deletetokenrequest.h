// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<DeleteToken> : DescriptionDefaults
{
    using Request = class DeleteTokenRequest;
    static constexpr char verb[] = "DELETE";
    static constexpr auto folder = &RestUrlHelper::tokenUrl;
    static constexpr bool tokenIdentifies = true;
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "Token delete object creation failed";
    static constexpr auto signal = &ServiceSignals::tokenDeletionResponse;
    static constexpr auto process = &NetworkResponseProcessor::processDeleteTokenResponse;
};

/// Ends the access token.
class DeleteTokenRequest : public RequestOf<DeleteToken>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
