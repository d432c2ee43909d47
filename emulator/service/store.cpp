// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/store.h"

#include "emulator/service/schema.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <sys/stat.h>

namespace KelEmulator {

void Tables::removeAccount(std::int64_t key)
{
    const std::string id = std::to_string(key);
    for (const char* table : {"tokens", "recovery_tokens", "contacts", "devices"})
        mDatabase.execute((std::string("DELETE FROM ") + table + " WHERE account = " + id).c_str());
    mDatabase.execute(("DELETE FROM accounts WHERE id = " + id).c_str());
}

void Tables::clear()
{
    for (const char* table : {"tokens", "recovery_tokens", "contacts", "devices", "captchas",
                              "inbox", "pre_accounts", "reserved_names", "accounts"})
        mDatabase.execute((std::string("DELETE FROM ") + table).c_str());
}

Store::Transaction::Transaction(Database& database)
    : mDatabase(database), mExceptions(std::uncaught_exceptions())
{
    mDatabase.execute("BEGIN");
}

Store::Transaction::~Transaction()
{
    mDatabase.execute(std::uncaught_exceptions() > mExceptions ? "ROLLBACK" : "COMMIT");
}

Store::Store(std::unique_ptr<Database> database)
    : mDatabase(std::move(database)), mTables(*mDatabase)
{
}

std::unique_ptr<Store> Store::open(const std::string& file, std::string& problem)
{
    std::unique_ptr<Database> database = Database::open(file, problem);
    if (!database || !bringUpToDate(*database, problem))
        return nullptr;
    std::unique_ptr<Store> store(new Store(std::move(database)));
    // A file of somebody else's may have tables of these names with other columns.
    if (!store->mDatabase->allPrepared()) {
        problem = store->mDatabase->lastProblem();
        return nullptr;
    }
    // Passwords are kept as they are. Not before it is known to be ours.
    if (file != Database::inMemory && ::chmod(file.c_str(), S_IRUSR | S_IWUSR) != 0) {
        problem = std::string("cannot keep other users from reading it: ") + std::strerror(errno);
        return nullptr;
    }
    return store;
}

} // namespace KelEmulator
