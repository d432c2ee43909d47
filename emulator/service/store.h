// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/accounts.h"
#include "emulator/service/captchas.h"
#include "emulator/service/contacts.h"
#include "emulator/service/devices.h"
#include "emulator/service/recovery.h"
#include "emulator/service/tokens.h"

#include <memory>
#include <mutex>
#include <string>

namespace KelEmulator {

/// Everything that the service keeps.
struct Tables
{
    explicit Tables(Database& database)
        : accounts(database), tokens(database), captchas(database), recovery(database),
          contacts(database), devices(database), mDatabase(database)
    {
    }

    /// Takes an account away, with all that is kept for it.
    void removeAccount(std::int64_t key);
    /// Takes everything away.
    void clear();

    Accounts accounts;
    Tokens tokens;
    Captchas captchas;
    Recovery recovery;
    Contacts contacts;
    Devices devices;

private:
    Database& mDatabase;
};

/// The database with its tables. May be used by many threads at once: one works in it at a time.
class Store
{
public:
    /// `file` is a path or ":memory:". Null, and why in `problem`, when it cannot be used.
    static std::unique_ptr<Store> open(const std::string& file, std::string& problem);

    /// Runs `work(Tables&)` as one transaction and returns what it returns.
    template <typename Work>
    auto with(Work&& work)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const Transaction transaction(*mDatabase);
        return work(mTables);
    }

private:
    /// Undone when an exception ends it.
    class Transaction
    {
    public:
        explicit Transaction(Database& database);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;

    private:
        Database& mDatabase;
        const int mExceptions;
    };

    explicit Store(std::unique_ptr<Database> database);

    std::mutex mMutex;
    std::unique_ptr<Database> mDatabase;
    Tables mTables;
};

} // namespace KelEmulator
