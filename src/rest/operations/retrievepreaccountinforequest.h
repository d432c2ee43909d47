// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/msgparser.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<RetrievePreAccountInfo> : DescriptionDefaults
{
    using Request = class RetrievePreAccountInfoRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::detectPreAccountUrl;
    static constexpr std::array roots{"autoDetectionResponse"};
    static constexpr char creationFailure[] = "Register account request object creation failed";
    static constexpr auto signal = &ServiceSignals::detectPreAccountResponse;
    static constexpr auto process = &NetworkResponseProcessor::processDetectPreAccountResponse;

    static QString document(const DeviceFacts& device)
    {
        return MsgCreator::xmlDetectPreAccount(device.imei, device.mcc, device.mnc,
                                               device.hashedMsin);
    }
    static void read(PreAccountInfo& into, const QDomNode& element)
    {
        MsgParser::parseDetectPreAccount(into, element);
    }
};

/// Asks for the account that the service holds ready for the SIM.
class RetrievePreAccountInfoRequest : public RequestOf<RetrievePreAccountInfo>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
