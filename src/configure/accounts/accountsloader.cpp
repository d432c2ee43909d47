// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/demandedmodule.h"
#include "configure/deviceaccounts.h"

namespace KelAccount {

namespace {

// When the module is missing, it is as if the database could not be opened.
class NoAccounts : public DeviceAccounts
{
public:
    std::optional<bool> hasAccount() override { return {}; }
    std::optional<unsigned int> activeCredentialsId() override { return {}; }
    std::optional<DeviceAccount> firstAccount() override { return {}; }
    int createAccount(const QString& /*name*/, unsigned int /*credentialsId*/, QObject* /*owner*/,
                      int /*timeoutMs*/, const std::function<void(bool)>& /*stored*/) override
    {
        return -1;
    }
    void removeAccount(unsigned int /*credentialsId*/, QObject* /*owner*/, int /*timeoutMs*/,
                       const std::function<void(bool)>& removed) override
    {
        removed(false);
    }
};

} // namespace

DeviceAccounts& deviceAccounts()
{
    using Function = DeviceAccounts* (*)();
    static const auto function =
        reinterpret_cast<Function>(demandedFunction("accounts", "kelaccount_device_accounts"));
    static NoAccounts none;
    return function ? *function() : none;
}

} // namespace KelAccount
