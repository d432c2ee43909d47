// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/operations/description.h"
#include "rest/reply/networkresponseprocessor.h"
#include "rest/request/msgcreator.h"

namespace KelRestHandler {

template <>
struct Description<UpdateDeviceInfo> : DescriptionDefaults
{
    using Request = class UpdateDeviceInfoRequest;
    static constexpr char verb[] = "POST";
    static constexpr auto folder = &RestUrlHelper::registrationUrl;
    static constexpr int identifier = 0;
    static constexpr char tail[] = "/devices";
    static constexpr bool tokenSigns = true;
    static constexpr char creationFailure[] = "SendUpdateDeviceInfoRequest object creation failed";
    static constexpr auto signal = &ServiceSignals::updateDeviceInfoResponse;
    static constexpr auto process = &NetworkResponseProcessor::processUpdateDeviceInfoResponse;

    static QString document(const DeviceFacts& device, const QString& /*accountId*/)
    {
        return MsgCreator::xmlUpdateDeviceInfo(QString(), device.imei, device.mcc, device.mnc,
                                               device.hashedMsin);
    }
};

/// Tells the service which device and SIM the account is used with. A POST, unlike other updates:
/// the service wants it so.
class UpdateDeviceInfoRequest : public RequestOf<UpdateDeviceInfo, QString>
{
public:
    using RequestOf::RequestOf;
};

} // namespace KelRestHandler
