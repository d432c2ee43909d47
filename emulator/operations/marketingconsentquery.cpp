// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"

namespace KelEmulator {

Reply marketingConsentQuery(const Call& call)
{
    return success(
        "marketingConsentQueryResponse",
        enclosed("marketingConsent", booleanElement("email", call.account.marketingByEmail) +
                                         booleanElement("mobile", call.account.marketingByMobile)));
}

} // namespace KelEmulator
