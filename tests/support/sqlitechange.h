// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <memory>

struct sqlite3;

namespace KelTest {

/// Runs SQL statements on a database file that there is. False, with a line, when that fails.
bool sqliteChange(const QString& databaseFile, const QString& statements);

/// Keeps everybody else from reading and writing a database while it lives.
class SqliteLock
{
public:
    explicit SqliteLock(const QString& databaseFile);
    ~SqliteLock();
    SqliteLock(const SqliteLock&) = delete;
    SqliteLock& operator=(const SqliteLock&) = delete;

    bool isHeld() const { return mHeld; }

private:
    struct Close
    {
        void operator()(sqlite3* database) const;
    };

    std::unique_ptr<sqlite3, Close> mDatabase;
    bool mHeld = false;
};

} // namespace KelTest
