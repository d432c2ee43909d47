// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

namespace KelTest {

/// The rows that a query gives, read from a database file without changing it. An error stands in
/// the one field of a single row, so that a comparison shows it.
QList<QVariantList> sqliteRows(const QString& databaseFile, const QString& query);

} // namespace KelTest
