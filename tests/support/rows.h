// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QTest>

#include <initializer_list>
#include <iterator>
#include <tuple>

/// Rows of data in fewer words.
namespace KelTest::Rows {

/// Columns of these types under these names.
template <class... Values, class... Names>
void columns(Names... names)
{
    static_assert(sizeof...(Values) == sizeof...(Names));
    (QTest::addColumn<Values>(names), ...);
}

/// The row's values, as QFETCH gets them one by one.
template <class... Values, class... Names>
std::tuple<Values...> fetch(Names... names)
{
    static_assert(sizeof...(Values) == sizeof...(Names));
    return {*static_cast<Values*>(QTest::qData(names, qMetaTypeId<Values>()))...};
}

/// A column of texts, and a row named after each.
inline void rowsNamed(const char* column, std::initializer_list<const char*> texts)
{
    QTest::addColumn<QByteArray>(column);
    for (const char* text : texts)
        QTest::newRow(text) << QByteArray(text);
}

/// A row for each structure of a table, which has the row's name as its member `name`.
template <class Table>
void addRows(const Table& table)
{
    QTest::addColumn<int>("row");
    int number = 0;
    for (const auto& row : table)
        QTest::newRow(row.name) << number++;
}

/// In the test: the structure that it runs with.
template <class Table>
const auto& currentRow(const Table& table)
{
    return *std::next(std::begin(table), std::get<0>(fetch<int>("row")));
}

} // namespace KelTest::Rows

using namespace KelTest::Rows;
