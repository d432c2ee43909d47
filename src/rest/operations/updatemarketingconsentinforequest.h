// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/plainrecords.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateMarketingConsentInfo> : DescriptionDefaults
{
    using Request = class UpdateMarketingConsentInfoRequest;
    static constexpr char verb[] = "PUT";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 1;
    static constexpr char tail[] = "/marketing";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] =
        "updateMarketingConsentRequest object creation failed";

    static QString document(const MarketingConsentInfo& consent, const QString& /*accountId*/)
    {
        return MsgCreator::xmlUpdateMarketingConsent(consent);
    }
};

/// Changes what marketing the user consents to.
class UpdateMarketingConsentInfoRequest
    : public RequestOf<UpdateMarketingConsentInfo, MarketingConsentInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
