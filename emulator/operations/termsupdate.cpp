// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply termsUpdate(const Call& call)
{
    if (const auto refusal = refuseTermsOfOthers(call.pathValues.front(), call.account))
        return *refusal;
    Account account = call.account;
    account.hasAcceptedTos = call.document.isTrue("hasAcceptedTos");
    account.hasAcceptedServiceTos = call.document.isTrue("hasAcceptedServiceSpecificTos");
    account.hasAcceptedPrivacyPolicy = call.document.isTrue("hasAcceptedPrivacyPolicy");
    call.tables.accounts.save(account);
    return successWithoutDocument();
}

} // namespace KelEmulator
