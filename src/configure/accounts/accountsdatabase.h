// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "configure/deviceaccounts.h"

namespace KelAccount {

/// The accounts framework's database.
class AccountsDatabase : public DeviceAccounts
{
public:
    std::optional<bool> hasAccount() override;
    std::optional<unsigned int> activeCredentialsId() override;
    std::optional<DeviceAccount> firstAccount() override;
    int createAccount(const QString& name, unsigned int credentialsId, QObject* owner,
                      int timeoutMs, const std::function<void(bool)>& stored) override;
    void removeAccount(unsigned int credentialsId, QObject* owner, int timeoutMs,
                       const std::function<void(bool)>& removed) override;
};

} // namespace KelAccount
