// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/accounts.h"

#include <algorithm>

namespace KelEmulator {

namespace {

constexpr const char* schema = R"(
    BEGIN;
    CREATE TABLE IF NOT EXISTS accounts (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL UNIQUE COLLATE NOCASE
    );
    CREATE TABLE IF NOT EXISTS reserved_names (
        name TEXT PRIMARY KEY COLLATE NOCASE
    ) WITHOUT ROWID;
    COMMIT;
)";

/// What suggestions are built on.
std::string stemOf(const std::string& name)
{
    constexpr size_t roomForDigits = 8;
    std::string stem =
        name.substr(0, name.find('@')).substr(0, Accounts::longestName - roomForDigits);
    // Clients take every reply with "error" in its text for an error reply, so no name offered may
    // contain it.
    const bool misread =
        stem.find("error") != std::string::npos || stem.find("Error") != std::string::npos;
    return stem.empty() || misread ? "user" : stem;
}

} // namespace

Accounts::Accounts(std::unique_ptr<Database> database)
    : mDatabase(std::move(database)),
      mAdd(mDatabase->prepare("INSERT OR IGNORE INTO accounts (name) VALUES (?1)")),
      mReserve(mDatabase->prepare("INSERT OR IGNORE INTO reserved_names (name) VALUES (?1)")),
      mFind(mDatabase->prepare("SELECT EXISTS (SELECT 1 FROM accounts WHERE name = ?1),"
                               " EXISTS (SELECT 1 FROM reserved_names WHERE name = ?1)"))
{
}

std::unique_ptr<Accounts> Accounts::open(const std::string& file, std::string& problem)
{
    std::unique_ptr<Database> database = Database::open(file, problem);
    if (!database)
        return nullptr;
    if (!database->execute(schema)) {
        problem = database->lastProblem();
        return nullptr;
    }
    std::unique_ptr<Accounts> accounts(new Accounts(std::move(database)));
    // A file of somebody else's may have tables of these names with other columns.
    if (!accounts->mAdd.get() || !accounts->mReserve.get() || !accounts->mFind.get()) {
        problem = accounts->mDatabase->lastProblem();
        return nullptr;
    }
    return accounts;
}

bool Accounts::isWellFormed(const std::string& name)
{
    return !name.empty() && name.size() <= longestName &&
           std::all_of(name.begin(), name.end(), [](unsigned char byte) {
               return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
                      (byte >= '0' && byte <= '9') ||
                      std::string_view("._-@+").find(static_cast<char>(byte)) !=
                          std::string_view::npos;
           });
}

bool Accounts::add(const std::string& name)
{
    if (!isWellFormed(name))
        return false;
    const std::lock_guard<std::mutex> lock(mMutex);
    return Query(mAdd).bind(1, name).run();
}

bool Accounts::reserve(const std::string& name)
{
    if (!isWellFormed(name))
        return false;
    const std::lock_guard<std::mutex> lock(mMutex);
    return Query(mReserve).bind(1, name).run();
}

Accounts::NameState Accounts::lookUp(const std::string& name)
{
    Query query(mFind);
    query.bind(1, name);
    if (!query.next())
        return NameState::Free;
    if (query.number(1) != 0)
        return NameState::Reserved;
    return query.number(0) != 0 ? NameState::Taken : NameState::Free;
}

Accounts::NameState Accounts::state(const std::string& name)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return lookUp(name);
}

std::vector<std::string> Accounts::suggestions(const std::string& name, size_t count)
{
    constexpr int attempts = 10000;
    const std::string stem = stemOf(name);
    std::vector<std::string> names;
    const std::lock_guard<std::mutex> lock(mMutex);
    for (int number = 1; number <= attempts && names.size() < count; ++number) {
        std::string candidate = stem + std::to_string(number);
        if (lookUp(candidate) == NameState::Free)
            names.push_back(std::move(candidate));
    }
    return names;
}

} // namespace KelEmulator
