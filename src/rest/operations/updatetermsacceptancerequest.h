// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/records/plainrecords.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateTermsAcceptance> : DescriptionDefaults
{
    using Request = class UpdateTermsAcceptanceRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::termsUrl;
    static constexpr int identifier = 1;
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "updateTermsAcceptanceRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::updateTermsAcceptanceResponse;
    static constexpr auto process = &NetworkResponseProcessor::processUpdateTermsAcceptanceResponse;

    static QString document(const TermsAcceptanceData& acceptance, const QString& /*identifier*/)
    {
        return MsgCreator::xmlTermsAcceptance(acceptance);
    }
};

/// Records which terms the user accepts. A POST, unlike other updates: the service wants it so.
class UpdateTermsAcceptanceRequest
    : public RequestOf<UpdateTermsAcceptance, TermsAcceptanceData, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
