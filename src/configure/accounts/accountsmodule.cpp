// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/deviceaccounts.h"

extern "C" Q_DECL_EXPORT KelAccount::DeviceAccounts* kelaccount_device_accounts()
{
    return &KelAccount::deviceAccounts();
}
