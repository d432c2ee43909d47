// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/schema.h"

#include <iterator>

namespace KelEmulator {

namespace {

/// Each brings a file from the version of its place, counted from 0, to the next. Never change one
/// that files out there have seen.
constexpr const char* migrations[] = {
    R"(
    CREATE TABLE IF NOT EXISTS accounts (
        id INTEGER PRIMARY KEY,
        name TEXT NOT NULL UNIQUE COLLATE NOCASE
    );
    CREATE TABLE IF NOT EXISTS reserved_names (
        name TEXT PRIMARY KEY COLLATE NOCASE
    ) WITHOUT ROWID;
)",
    // Accounts that had nothing but a name get what accounts made by name have.
    R"(
    ALTER TABLE accounts RENAME TO accounts_before;
    CREATE TABLE accounts (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        name TEXT UNIQUE COLLATE NOCASE,
        password TEXT NOT NULL,
        email TEXT NOT NULL COLLATE NOCASE,
        mobile TEXT NOT NULL DEFAULT '',
        email_verified INTEGER NOT NULL DEFAULT 0,
        mobile_verified INTEGER NOT NULL DEFAULT 0,
        question TEXT NOT NULL DEFAULT '',
        answer TEXT NOT NULL DEFAULT '',
        language TEXT NOT NULL DEFAULT '',
        country TEXT NOT NULL DEFAULT '',
        birthday TEXT NOT NULL DEFAULT '',
        first_name TEXT NOT NULL DEFAULT '',
        last_name TEXT NOT NULL DEFAULT '',
        gender TEXT NOT NULL DEFAULT '',
        marketing_email INTEGER NOT NULL DEFAULT 0,
        marketing_mobile INTEGER NOT NULL DEFAULT 0,
        tos INTEGER NOT NULL DEFAULT 1,
        service_tos INTEGER NOT NULL DEFAULT 1,
        privacy_policy INTEGER NOT NULL DEFAULT 1,
        failures INTEGER NOT NULL DEFAULT 0
    );
    INSERT INTO accounts (id, name, password, email, email_verified)
        SELECT id, name, 'secret', name || '@example.org', 1 FROM accounts_before;
    DROP TABLE accounts_before;
    CREATE INDEX accounts_by_email ON accounts (email);
    CREATE INDEX accounts_by_mobile ON accounts (mobile);
    CREATE TABLE tokens (
        token TEXT PRIMARY KEY,
        secret TEXT NOT NULL,
        account INTEGER NOT NULL,
        created INTEGER NOT NULL,
        expires INTEGER NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE captchas (
        id TEXT PRIMARY KEY,
        text TEXT NOT NULL,
        expires INTEGER NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE recovery_tokens (
        token TEXT PRIMARY KEY,
        account INTEGER NOT NULL,
        expires INTEGER NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE inbox (
        number INTEGER PRIMARY KEY AUTOINCREMENT,
        user TEXT NOT NULL,
        recipient TEXT NOT NULL COLLATE NOCASE,
        text TEXT NOT NULL,
        token TEXT NOT NULL,
        sent INTEGER NOT NULL
    );
    CREATE TABLE contacts (
        account INTEGER NOT NULL,
        position INTEGER NOT NULL,
        is_mobile INTEGER NOT NULL,
        value TEXT NOT NULL,
        preferred INTEGER NOT NULL,
        PRIMARY KEY (account, position)
    ) WITHOUT ROWID;
    CREATE TABLE pre_accounts (
        id TEXT PRIMARY KEY,
        hashed_msin TEXT NOT NULL UNIQUE,
        name TEXT NOT NULL,
        mobile TEXT NOT NULL,
        country TEXT NOT NULL
    ) WITHOUT ROWID;
    CREATE TABLE devices (
        account INTEGER NOT NULL,
        serial_number TEXT NOT NULL,
        mcc TEXT NOT NULL,
        mnc TEXT NOT NULL,
        hashed_msin TEXT NOT NULL,
        pre_account TEXT NOT NULL,
        PRIMARY KEY (account, serial_number)
    ) WITHOUT ROWID;
)",
};

constexpr std::int64_t newestVersion = std::size(migrations);

std::int64_t versionOf(Database& database)
{
    const Statement statement = database.prepare("PRAGMA user_version");
    Query query(statement);
    return query.next() ? query.number(0) : -1;
}

} // namespace

bool bringUpToDate(Database& database, std::string& problem)
{
    const std::int64_t version = versionOf(database);
    if (version < 0) {
        problem = database.lastProblem();
        return false;
    }
    if (version > newestVersion) {
        problem = "a newer program made it";
        return false;
    }
    if (version == newestVersion)
        return true;
    // All or nothing: a file of somebody else's must stay as it is.
    std::string script = "BEGIN IMMEDIATE;";
    for (std::int64_t step = version; step < newestVersion; ++step)
        script += migrations[step];
    script += "PRAGMA user_version = " + std::to_string(newestVersion) + "; COMMIT;";
    if (!database.execute(script.c_str())) {
        problem = database.lastProblem();
        database.execute("ROLLBACK");
        return false;
    }
    return true;
}

} // namespace KelEmulator
