// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<QueryConsentVariant> : DescriptionDefaults
{
    using Request = class ConsentQueryVariantRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::consentQueryVariantUrl;
    static constexpr std::array roots{"consentQueryVariantResponse"};
    static constexpr char creationFailure[] = "Consent query object creation failed";
    static constexpr auto signal = &ServiceSignals::queryMarketingVariantResponse;
    static constexpr auto process = &NetworkResponseProcessor::processQueryVariantResponse;

    // The document takes the hash as printable text.
    static QString document(const DeviceFacts& device)
    {
        return MsgCreator::xmlConsentQueryVariant(QString(), device.imei, device.mcc, device.mnc,
                                                  device.hashedMsin.toBase64());
    }
    static void read(ConsentQueryVariant& into, const QDomNode& element)
    {
        MsgParser::parseConsentQueryVariantResponseNode(into, element);
    }
};

/// Asks how the user is to be asked for marketing consent.
class ConsentQueryVariantRequest : public RequestOf<QueryConsentVariant>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
