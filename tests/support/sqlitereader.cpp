// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/sqlitereader.h"
#include "support/literals.h"

#include <QFile>

#include <sqlite3.h>

#include <memory>

namespace KelTest {

namespace {

struct CloseDatabase
{
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};

struct FinalizeStatement
{
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

QVariant column(sqlite3_stmt* statement, int index)
{
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        return static_cast<qlonglong>(sqlite3_column_int64(statement, index));
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, index);
    case SQLITE_BLOB:
        return QByteArray(static_cast<const char*>(sqlite3_column_blob(statement, index)),
                          sqlite3_column_bytes(statement, index));
    case SQLITE_TEXT:
        return QString::fromUtf8(
            reinterpret_cast<const char*>(sqlite3_column_text(statement, index)));
    default:
        return {};
    }
}

QList<QVariantList> failure(sqlite3* database)
{
    return {{"sqlite: "_s + QString::fromUtf8(sqlite3_errmsg(database))}};
}

} // namespace

QList<QVariantList> sqliteRows(const QString& databaseFile, const QString& query)
{
    sqlite3* opened = nullptr;
    const int status = sqlite3_open_v2(QFile::encodeName(databaseFile).constData(), &opened,
                                       SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
    if (status != SQLITE_OK)
        return failure(opened);
    sqlite3_busy_timeout(opened, 5000);

    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(opened, query.toUtf8().constData(), -1, &prepared, nullptr) != SQLITE_OK)
        return failure(opened);
    const std::unique_ptr<sqlite3_stmt, FinalizeStatement> statement(prepared);

    QList<QVariantList> rows;
    int step = sqlite3_step(prepared);
    for (; step == SQLITE_ROW; step = sqlite3_step(prepared)) {
        QVariantList row;
        for (int i = 0; i < sqlite3_column_count(prepared); ++i)
            row.append(column(prepared, i));
        rows.append(row);
    }
    return step == SQLITE_DONE ? rows : failure(opened);
}

} // namespace KelTest
