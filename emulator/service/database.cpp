// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/database.h"

#include "emulator/common/descriptor.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

namespace KelEmulator {

void Statement::Finalizer::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

Query::~Query()
{
    sqlite3_reset(mStatement);
    sqlite3_clear_bindings(mStatement);
}

Query& Query::bind(int index, std::string_view text)
{
    sqlite3_bind_text64(mStatement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    return *this;
}

Query& Query::bind(int index, std::int64_t number)
{
    sqlite3_bind_int64(mStatement, index, number);
    return *this;
}

bool Query::next()
{
    return sqlite3_step(mStatement) == SQLITE_ROW;
}

bool Query::run()
{
    return sqlite3_step(mStatement) == SQLITE_DONE;
}

std::int64_t Query::number(int column) const
{
    return sqlite3_column_int64(mStatement, column);
}

std::string Query::text(int column) const
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(mStatement, column));
    const int length = sqlite3_column_bytes(mStatement, column);
    return bytes ? std::string(bytes, static_cast<size_t>(length)) : std::string();
}

void Database::Closer::operator()(sqlite3* database) const
{
    sqlite3_close(database);
}

std::unique_ptr<Database> Database::open(const std::string& file, std::string& problem)
{
    // SQLite would make it as readable as other files are; its journals take the file's own mode.
    if (file != inMemory)
        Descriptor(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));

    sqlite3* handle = nullptr;
    const int result =
        sqlite3_open_v2(file.c_str(), &handle,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<Database> database(new Database(handle));
    if (result != SQLITE_OK) {
        problem = handle ? sqlite3_errmsg(handle) : sqlite3_errstr(result);
        return nullptr;
    }
    sqlite3_busy_timeout(handle, 2000);
    return database;
}

bool Database::execute(const char* sql)
{
    return sqlite3_exec(mDatabase.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

Statement Database::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    const int result = sqlite3_prepare_v3(mDatabase.get(), sql, -1, SQLITE_PREPARE_PERSISTENT,
                                          &statement, nullptr);
    mAllPrepared = mAllPrepared && result == SQLITE_OK;
    return Statement(statement);
}

std::int64_t Database::lastKey() const
{
    return sqlite3_last_insert_rowid(mDatabase.get());
}

std::string Database::lastProblem() const
{
    return sqlite3_errmsg(mDatabase.get());
}

} // namespace KelEmulator
