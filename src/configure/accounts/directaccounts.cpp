// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/accounts/accountsdatabase.h"

namespace KelAccount {

DeviceAccounts& deviceAccounts()
{
    static AccountsDatabase database;
    return database;
}

} // namespace KelAccount
