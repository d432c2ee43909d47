// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/accounts/accountsdatabase.h"

#include "common/logging.h"
#include "configure/kelconfigureaccount.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QAbstractEventDispatcher>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <utility>

#include <gio/gio.h>

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

// Whether Qt's event loop runs GLib's, too.
bool runsGlib()
{
    const QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    return dispatcher && dispatcher->inherits("QEventDispatcherGlib");
}

// One account on its way into the database, or out of it. Reports once: the account's own outcome
// or, without one in time, what has become of it until then. Everything of it ends with that, while
// it lives on for as long as the application stays in the slot of its answer.
class Storing : public QObject
{
public:
    Storing(Accounts::Account* account, int timeoutMs, std::function<void(bool)> stored)
        : QObject(account->manager()), mAccount(account), mIdBefore(account->id()),
          mStored(std::move(stored)), mGuard(this), mGlib(this)
    {
        connect(account, &Accounts::Account::removed, this, [this] { mIsRemoved = true; });
        connect(account, &Accounts::Account::synced, this, [this] { finish(true); });
        connect(account, &Accounts::Account::error, this, [this](Accounts::Error error) {
            qCCritical(logConfigure, "The account was not stored: accounts error %d", error.type());
            finish(false);
        });
        connect(&mGuard, &QTimer::timeout, this, &Storing::endInTime);
        mGuard.start(timeoutMs);
        // The framework writes from callbacks of GLib's loop. Where the application's event loop
        // does not run that, it is run from here, a little at a time.
        constexpr int intervalMs = 10;
        connect(&mGlib, &QTimer::timeout, this, [] {
            constexpr int atOnce = 16;
            for (int i = 0; i < atOnce && g_main_context_iteration(nullptr, FALSE); ++i) {
            }
        });
        if (!runsGlib())
            mGlib.start(intervalMs);
    }

private:
    // The framework numbers an account, and says that it is removed, as it writes. That it has
    // written it says later, after the guard where the application has kept the event loop waiting.
    bool isWritten() const { return mIsRemoved || mAccount->id() != mIdBefore; }

    void endInTime()
    {
        const bool written = isWritten();
        if (!written)
            qCCritical(logConfigure, "The accounts database did not take the account in time");
        // Which takes it back from the framework: it would write it as soon as it can, also while
        // the application stays in the slot of the answer.
        disconnect(mAccount, nullptr, this, nullptr);
        delete mAccount;
        finish(written);
    }

    void finish(bool ok)
    {
        if (mAccount)
            disconnect(mAccount, nullptr, this, nullptr);
        mGuard.stop();
        mGlib.stop();
        // This object may be gone when it returns.
        const auto stored = std::move(mStored);
        stored(ok);
    }

    QPointer<Accounts::Account> mAccount;
    Accounts::AccountId mIdBefore; // 0 for one that is new
    bool mIsRemoved = false;
    std::function<void(bool)> mStored;
    QTimer mGuard;
    QTimer mGlib;
};

// The framework tells others of what it writes over GLib's connection to the session bus, which the
// process has one of, and which ends the process with the bus, as is good for a program of a
// session but is not a library's to decide.
void outliveBus()
{
    GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return;
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_object_unref(bus);
}

// Null when the database cannot be opened.
Accounts::Manager* openForWriting(QObject* owner)
{
    auto manager = std::make_unique<Accounts::Manager>(owner);
    outliveBus();
    // Without a database the framework hands out accounts that are good for nothing.
    if (manager->lastError().type() == Accounts::Error::NoError)
        return manager.release();
    qCCritical(logConfigure, "The accounts database cannot be opened: accounts error %d",
               manager->lastError().type());
    qCCritical(logConfigure, "Failed to get account manager instance");
    return nullptr;
}

void endWithItsStore(Accounts::Account* account, Accounts::Manager* manager)
{
    // The manager serves this account only.
    QObject::connect(account, &QObject::destroyed, manager, &QObject::deleteLater);
    const bool connected =
        QObject::connect(account, &Accounts::Account::synced, account, &QObject::deleteLater) &&
        QObject::connect(account, &Accounts::Account::error, account, &QObject::deleteLater);
    if (!connected)
        qCWarning(logConfigure, "Failed to connect to synced signal from accConfMgr.. "
                                "possibility of memory leak");
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

std::optional<DeviceAccount> AccountsDatabase::firstAccount()
{
    const auto manager = openAccounts();
    if (!manager)
        return {};
    Accounts::Account* const account =
        findAccount(*manager, [](const Accounts::Account&) { return true; });
    return account ? DeviceAccount{account->id(), account->credentialsId()} : DeviceAccount{};
}

int AccountsDatabase::createAccount(const QString& name, unsigned int credentialsId, QObject* owner,
                                    int timeoutMs, const std::function<void(bool)>& stored)
{
    auto* const manager = openForWriting(owner);
    if (!manager)
        return -1;
    Accounts::Account* const account = manager->createAccount(accountProvider);
    if (!account) {
        qCCritical(logConfigure, "Failed to create zor account");
        delete manager;
        return -1;
    }
    endWithItsStore(account, manager);
    new Storing(account, timeoutMs, stored);
    new KelConfigureAccount(account, AccountsUI::CreateNew, name, credentialsId, account);
    return 0;
}

void AccountsDatabase::removeAccount(unsigned int credentialsId, QObject* owner, int timeoutMs,
                                     const std::function<void(bool)>& removed)
{
    Accounts::Manager* const manager = openForWriting(owner);
    if (!manager) {
        removed(false);
        return;
    }
    Accounts::Account* const account = findAccount(*manager, [credentialsId](Accounts::Account& a) {
        return a.credentialsId() == credentialsId;
    });
    if (!account) {
        delete manager;
        removed(true);
        return;
    }
    endWithItsStore(account, manager);
    new Storing(account, timeoutMs, removed);
    account->remove();
    account->sync();
}

} // namespace KelAccount
