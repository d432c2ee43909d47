// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace KelEmulator {

/// A prepared SQLite statement. Values are bound with `bind`, numbered from 1; the destructor of
/// the running `Query` resets it, so that it can be used again.
class Statement
{
public:
    explicit Statement(sqlite3_stmt* statement) : mStatement(statement) {}
    sqlite3_stmt* get() const { return mStatement.get(); }

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalizer> mStatement;
};

/// One run of a statement.
class Query
{
public:
    explicit Query(const Statement& statement) : mStatement(statement.get()) {}
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;
    ~Query();

    Query& bind(int index, std::string_view text);
    Query& bind(int index, std::int64_t number);
    /// True when there is a row to read.
    bool next();
    /// Runs a statement that returns no rows.
    bool run();
    std::int64_t number(int column) const;
    std::string text(int column) const;

private:
    sqlite3_stmt* mStatement;
};

/// An SQLite database. Not locked: its owner has the mutex.
class Database
{
public:
    static constexpr const char* inMemory = ":memory:";

    /// A new file is the user's alone. Null, and why in `problem`, when the file cannot be opened.
    static std::unique_ptr<Database> open(const std::string& file, std::string& problem);

    bool execute(const char* sql);
    /// The statement of a faulty text is null and its queries return nothing.
    Statement prepare(const char* sql);
    /// Whether every text prepared so far was good.
    bool allPrepared() const { return mAllPrepared; }
    /// The key of the row inserted last.
    std::int64_t lastKey() const;
    std::string lastProblem() const;

private:
    struct Closer
    {
        void operator()(sqlite3* database) const;
    };
    explicit Database(sqlite3* database) : mDatabase(database) {}
    std::unique_ptr<sqlite3, Closer> mDatabase;
    bool mAllPrepared = true;
};

} // namespace KelEmulator
