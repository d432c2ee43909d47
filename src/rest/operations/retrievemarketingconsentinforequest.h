// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveMarketingConsentInfo> : DescriptionDefaults
{
    using Request = class RetrieveMarketingConsentInfoRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/marketing";
    static constexpr bool tokenSigns = true;
    static constexpr std::array roots{"marketingConsentQueryResponse"};
    static constexpr char creationFailure[] =
        "retrieveMarketingConsentRequest object creation failed";
};

/// Asks what marketing the user has consented to.
class RetrieveMarketingConsentInfoRequest : public RequestOf<RetrieveMarketingConsentInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
