// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply marketingConsentUpdate(const Call& call)
{
    const XmlElement& consent = call.document.children.front();
    Account account = call.account;
    account.marketingByEmail = consent.isTrue("email");
    account.marketingByMobile = consent.isTrue("mobile");
    call.tables.accounts.save(account);
    return successWithoutDocument();
}

} // namespace KelEmulator
