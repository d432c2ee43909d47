// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"

namespace KelRestHandler {

template <>
struct Description<RetrieveTermsAcceptance> : DescriptionDefaults
{
    using Request = class RetrieveTermsAcceptanceRequest;
    static constexpr char verb[] = "GET";
    static constexpr auto folder = &RestUrlHelper::termsUrl;
    static constexpr int identifier = 0;
    static constexpr bool tokenSigns = true;
    static constexpr int language = 1;
    static constexpr std::array roots{"termsQueryResponse"};
    static constexpr char creationFailure[] =
        "retrieveTermsAcceptanceRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::retrieveTermsAcceptanceResponse;
    static constexpr auto process =
        &NetworkResponseProcessor::processRetrieveTermsAcceptanceResponse;

    static void read(TermsAcceptanceStatusResponse& into, const QDomNode& element)
    {
        MsgParser::parseTermsInfoNode(into.termsInfo, element);
    }
};

/// Asks which terms the user has accepted.
class RetrieveTermsAcceptanceRequest : public RequestOf<RetrieveTermsAcceptance, QString, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
