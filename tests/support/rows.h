// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QFile>
#include <QTest>

#include <initializer_list>
#include <iterator>
#include <tuple>

/// Rows of data in fewer words.
namespace KelTest::Rows {

/// The row's values, as QFETCH gets them one by one.
template <class... Values, class... Names>
std::tuple<Values...> fetch(Names... names)
{
    static_assert(sizeof...(Values) == sizeof...(Names));
    return {*static_cast<Values*>(QTest::qData(names, qMetaTypeId<Values>()))...};
}

/// How a column's value may be written in a row: a QString as a literal, too.
template <class Value>
struct Written
{
    using Type = Value;
};
template <>
struct Written<QString>
{
    struct Type : QString
    {
        Type() = default;
        Type(const char* text) : QString(QString::fromUtf8(text)) {}
        Type(const QString& text) : QString(text) {}
    };
};

/// Columns of these types under these names.
template <class... Values, class... Names>
void columns(Names... names)
{
    static_assert(sizeof...(Values) == sizeof...(Names));
    (QTest::addColumn<Values>(names), ...);
}

/// Makes such columns. What it returns makes a row of a name and its values.
template <class... Values, class... Names>
auto rows(Names... names)
{
    columns<Values...>(names...);
    return [](const char* name, const typename Written<Values>::Type&... values) {
        (QTest::newRow(name) << ... << Values(values));
    };
}

/// A row of these values.
template <class... Values>
void row(const char* name, const Values&... values)
{
    QTestData& data = QTest::newRow(name);
    (data << ... << values);
}

/// A column of texts, and a row named after each.
inline void rowsNamed(const char* column, std::initializer_list<const char*> texts)
{
    QTest::addColumn<QByteArray>(column);
    for (const char* text : texts)
        QTest::newRow(text) << QByteArray(text);
}

/// A row for each line of a file: its name, and a text for each column, parted by tabs. A line that
/// begins with "#" tells of the others.
inline void rowsOfFile(const char* path, std::initializer_list<const char*> columns)
{
    for (const char* column : columns)
        QTest::addColumn<QByteArray>(column);
    QFile file(QString::fromUtf8(path));
    QVERIFY2(file.open(QIODevice::ReadOnly), path);
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QList<QByteArray> texts = line.split('\t');
        QVERIFY2(texts.size() == int(columns.size()) + 1, line.constData());
        QTestData& row = QTest::newRow(texts.first().constData());
        for (const QByteArray& text : texts.mid(1))
            row << text;
    }
}

/// A row for each structure of a table, which has the row's name as its member `name`; or for those
/// of them that are chosen.
template <class Table, class Choose>
void addRows(const Table& table, Choose isChosen)
{
    QTest::addColumn<int>("row");
    int number = 0;
    for (const auto& row : table) {
        if (isChosen(row))
            QTest::newRow(row.name) << number;
        ++number;
    }
}

template <class Table>
void addRows(const Table& table)
{
    addRows(table, [](const auto&) { return true; });
}

/// In the test: the structure that it runs with.
template <class Table>
const auto& currentRow(const Table& table)
{
    return *std::next(std::begin(table), std::get<0>(fetch<int>("row")));
}

} // namespace KelTest::Rows

using namespace KelTest::Rows;
