// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/accounts/accountsdatabase.h"

#include "common/logging.h"
#include "configure/kelconfigureaccount.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QTimer>

#include <algorithm>
#include <memory>

namespace KelAccount {

namespace {

// The provider of the service's accounts on the device.
const QLatin1String accountProvider("zor");

// For reading, and so without a connection to the bus. Null when the database cannot be opened: the
// framework's manager would exist all the same.
std::unique_ptr<Accounts::Manager> openAccounts()
{
    auto manager = std::make_unique<Accounts::Manager>(
        Accounts::Manager::Options(Accounts::Manager::DisableNotifications));
    if (manager->lastError().type() != Accounts::Error::NoError)
        manager.reset();
    return manager;
}

// The first account of the service that the test accepts, or null.
template <class Accepts>
Accounts::Account* findAccount(Accounts::Manager& manager, Accepts accepts)
{
    const Accounts::AccountIdList ids = manager.accountList();
    for (const Accounts::AccountId id : ids) {
        // Null when the account was removed since the list was made.
        Accounts::Account* const account = manager.account(id);
        if (account && account->providerName() == accountProvider && accepts(*account))
            return account;
    }
    return nullptr;
}

// Calls `stored` once: with the account's own outcome or, without one in time, with false.
void reportStoring(Accounts::Account* account, int timeoutMs,
                   const std::function<void(bool)>& stored)
{
    QObject::connect(account, &Accounts::Account::synced, account, [stored] { stored(true); });
    QObject::connect(account, &Accounts::Account::error, account, [stored](Accounts::Error error) {
        qCCritical(logConfigure, "The account was not stored: accounts error %d", error.type());
        stored(false);
    });
    QTimer::singleShot(timeoutMs, account, [account, stored] {
        qCCritical(logConfigure, "The accounts database did not take the account in time");
        QObject::disconnect(account, nullptr, account, nullptr);
        account->deleteLater(); // which takes it back from the framework
        stored(false);
    });
}

} // namespace

std::optional<bool> AccountsDatabase::hasAccount()
{
    const auto manager = openAccounts();
    if (!manager)
        return {};
    return findAccount(*manager, [](const Accounts::Account&) { return true; }) != nullptr;
}

std::optional<unsigned int> AccountsDatabase::activeCredentialsId()
{
    const auto manager = openAccounts();
    if (!manager)
        return {};
    Accounts::Account* const account =
        findAccount(*manager, [](const Accounts::Account& a) { return a.enabled(); });
    return account ? account->credentialsId() : 0;
}

int AccountsDatabase::createAccount(const QString& name, unsigned int credentialsId, QObject* owner,
                                    int timeoutMs, const std::function<void(bool)>& stored)
{
    auto* const manager = new Accounts::Manager(owner);
    // Without a database the framework hands out accounts that are good for nothing.
    if (manager->lastError().type() != Accounts::Error::NoError) {
        qCCritical(logConfigure, "Failed to get account manager instance");
        delete manager;
        return -1;
    }
    Accounts::Account* const account = manager->createAccount(accountProvider);
    if (!account) {
        qCCritical(logConfigure, "Failed to create zor account");
        delete manager;
        return -1;
    }
    // The manager serves this account only.
    QObject::connect(account, &QObject::destroyed, manager, &QObject::deleteLater);
    const bool connected =
        QObject::connect(account, &Accounts::Account::synced, account, &QObject::deleteLater) &&
        QObject::connect(account, &Accounts::Account::error, account, &QObject::deleteLater);
    if (!connected)
        qCWarning(logConfigure, "Failed to connect to synced signal from accConfMgr.. "
                                "possibility of memory leak");
    reportStoring(account, timeoutMs, stored);
    new KelConfigureAccount(account, AccountsUI::CreateNew, name, credentialsId, account);
    return 0;
}

} // namespace KelAccount
