// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply autoDetection(const Call& call)
{
    const std::string& hash = call.document.textOf("hashedMSIN");
    const auto preAccount = call.tables.devices.findPreAccount(hash);
    if (!preAccount)
        return errorReply(404, "resourceNotFound", "Nothing is known of this subscriber");
    return success("autoDetectionResponse", xmlElement("preAccountId", preAccount->id) +
                                                elementIfAny("username", preAccount->userName) +
                                                elementIfAny("mobile", preAccount->mobile) +
                                                elementIfAny("country", preAccount->country));
}

} // namespace KelEmulator
