// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/accountsdatabase.h"

#include <Accounts/Manager>

namespace KelAccount {

std::unique_ptr<Accounts::Manager> openAccounts(QObject* parent)
{
    auto manager = std::make_unique<Accounts::Manager>(
        Accounts::Manager::Options(Accounts::Manager::DisableNotifications), parent);
    if (manager->lastError().type() != Accounts::Error::NoError)
        manager.reset();
    return manager;
}

} // namespace KelAccount
