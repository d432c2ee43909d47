// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply tokenDeletion(const Call& call)
{
    if (call.pathValues.front() != call.token)
        return errorReply(401, "invalidAccessToken", "The address has another token");
    call.tables.tokens.remove(call.token);
    return successWithoutDocument();
}

} // namespace KelEmulator
