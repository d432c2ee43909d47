// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/humanproof.h"
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

Reply emailAvailability(const Call& call)
{
    // Only devices may ask; addresses are not to be collected by trying.
    if (!isServiceTag(call.document.textOf("serviceTag")))
        return detailedError(400, "operationFailed", "invalidServiceTag", "No such service tag");
    const std::string& email = call.document.textOf("email");
    if (!isEmailAddress(email))
        return errorReply(400, "attributeSyntaxError", "That is no e-mail address");
    if (call.tables.accounts.hasEmail(email))
        return errorReply(409, "operationFailed", "An account has this address");
    return successWithoutDocument();
}

} // namespace KelEmulator
