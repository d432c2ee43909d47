// SPDX-License-Identifier: LGPL-2.1-or-later
// usage: kelaccount-status-page PAGE [--write]
// Holds the page of the statuses against the library's own list: a row for each, in order, with its
// name, its English text, whether it passes and what it is about. With --write it puts those there.
#include "account/texts/statustable.h"

#include <kelaccount/statustext.h>

#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QTextStream>

using namespace KelAccount;

namespace {

constexpr int columnCount = 7;
constexpr int highestStatus = 9999;

QTextStream out(stdout);

// What has a row of its own.
QList<int> everyStatus()
{
    QList<int> all;
    for (int status = 0; status <= highestStatus; ++status) {
        if (statusRow(status).status == status)
            all.append(status);
    }
    return all;
}

QString inTable(const QString& text)
{
    return text.isEmpty() ? QStringLiteral(" |") : QLatin1Char(' ') + text + QStringLiteral(" |");
}

// Cause and remedy are the page's; all else is the library's.
QString asItShouldBe(int status, const QStringList& columns)
{
    const QString name = statusName(status).section(QStringLiteral("::"), -1);
    const QString field = statusField(status);
    return QLatin1Char('|') + inTable(columns.at(0)) +
           inTable(QLatin1Char('`') + name + QLatin1Char('`')) + inTable(columns.at(2)) +
           inTable(statusText(status, QLocale(QLocale::English))) +
           inTable(isRetryable(status) ? QStringLiteral("yes") : QString()) +
           inTable(field.isEmpty() ? field : QLatin1Char('`') + field + QLatin1Char('`')) +
           inTable(columns.at(6));
}

} // namespace

int main(int argc, char** argv)
{
    QFile page(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString());
    if (!page.open(QFile::ReadOnly)) {
        out << "usage: kelaccount-status-page PAGE [--write]\n";
        return 2;
    }
    const QStringList lines = QString::fromUtf8(page.readAll()).split(QLatin1Char('\n'));
    page.close();

    QStringList mended;
    QList<int> found;
    int faults = 0;
    const QRegularExpression row(QStringLiteral("^\\| (\\d+) \\|"));
    for (const QString& line : lines) {
        const QRegularExpressionMatch match = row.match(line);
        if (!match.hasMatch()) {
            mended.append(line);
            continue;
        }
        const int status = match.captured(1).toInt();
        found.append(status);
        QStringList columns = line.split(QLatin1Char('|')).mid(1);
        columns.removeLast();
        for (QString& column : columns)
            column = column.trimmed();
        if (columns.size() != columnCount || columns.at(2).isEmpty() || columns.at(6).isEmpty()) {
            out << status << " has no cause or no remedy\n";
            return 1;
        }
        mended.append(asItShouldBe(status, columns));
        if (mended.last() != line) {
            ++faults;
            out << "is:        " << line << "\nshould be: " << mended.last() << '\n';
        }
    }
    if (found != everyStatus()) {
        out << "the page has\n";
        for (const int status : found)
            out << status << ' ';
        out << "\nand the library\n";
        for (const int status : everyStatus())
            out << status << ' ';
        out << '\n';
        return 1;
    }
    if (argc > 2 && QByteArray(argv[2]) == "--write") {
        if (!page.open(QFile::WriteOnly) || page.write(mended.join(QLatin1Char('\n')).toUtf8()) < 0)
            return 1;
        return 0;
    }
    return faults == 0 ? 0 : 1;
}
