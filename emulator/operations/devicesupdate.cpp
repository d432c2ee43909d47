// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply devicesUpdate(const Call& call)
{
    const std::string& preAccountId = call.document.textOf("preAccountId");
    if (!preAccountId.empty() && !call.tables.devices.hasPreAccount(preAccountId))
        return errorReply(404, "resourceNotFound", "There is no such pre-account");
    const XmlElement& device = *call.document.child("deviceInformation");
    call.tables.devices.save(call.account.key,
                             {device.textOf("mobilePhoneSerialNumber"), device.textOf("mcc"),
                              device.textOf("mnc"), device.textOf("hashedMSIN"), preAccountId});
    return successWithoutDocument();
}

} // namespace KelEmulator
