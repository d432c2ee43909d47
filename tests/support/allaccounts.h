// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <Accounts/Account>
#include <Accounts/Manager>

namespace KelTest {

/// Takes every account off the device. False when one stays.
inline bool removeAllAccounts()
{
    Accounts::Manager manager;
    bool removed = true;
    const Accounts::AccountIdList ids = manager.accountList();
    for (const Accounts::AccountId id : ids) {
        Accounts::Account* const account = manager.account(id);
        account->remove();
        removed = account->syncAndBlock() && removed;
    }
    return removed;
}

} // namespace KelTest
