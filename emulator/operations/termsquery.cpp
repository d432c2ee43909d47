// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"

namespace KelEmulator {

Reply termsQuery(const Call& call)
{
    if (const auto refusal = refuseTermsOfOthers(call.pathValues.front(), call.account))
        return *refusal;
    return success("termsQueryResponse", termsFlags(call.account));
}

} // namespace KelEmulator
