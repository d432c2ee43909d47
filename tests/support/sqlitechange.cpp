// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/sqlitechange.h"
#include "support/literals.h"

#include <QFile>

#include <sqlite3.h>

namespace KelTest {

namespace {

constexpr int patienceMs = 5000;

sqlite3* opened(const QString& file)
{
    sqlite3* database = nullptr;
    sqlite3_open_v2(QFile::encodeName(file).constData(), &database, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_busy_timeout(database, patienceMs);
    return database;
}

bool execute(sqlite3* database, const QString& statements)
{
    if (sqlite3_exec(database, statements.toUtf8().constData(), nullptr, nullptr, nullptr) ==
        SQLITE_OK)
        return true;
    qWarning("sqlite: %s", sqlite3_errmsg(database));
    return false;
}

} // namespace

void SqliteLock::Close::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

SqliteLock::SqliteLock(const QString& databaseFile) : mDatabase(opened(databaseFile))
{
    mHeld = execute(mDatabase.get(), "BEGIN EXCLUSIVE"_s);
}

SqliteLock::~SqliteLock()
{
    if (mHeld)
        execute(mDatabase.get(), "ROLLBACK"_s);
}

bool sqliteChange(const QString& databaseFile, const QString& statements)
{
    sqlite3* const database = opened(databaseFile);
    const bool done = execute(database, statements);
    sqlite3_close(database);
    return done;
}

} // namespace KelTest
