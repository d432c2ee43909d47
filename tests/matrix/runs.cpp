// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/runs.h"

#include "matrix/faults.h"
#include "matrix/tablefile.h"
#include "support/literals.h"

#include <QDate>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>

using namespace KelTest;

namespace Matrix {

namespace {

const QString header = "fault;day;commit"_s;

QString git(const QStringList& arguments)
{
    QProcess program;
    program.start("git"_s,
                  QStringList{"-C"_s, QStringLiteral(KELACCOUNT_MATRIX_FOLDER)} + arguments);
    program.waitForFinished();
    return QString::fromUtf8(program.readAllStandardOutput()).trimmed();
}

/// Of the main line, since a commit beside it may never be seen again; with "+" when there is more.
QString checkedOut()
{
    const QString head = git({"rev-parse"_s, "HEAD"_s});
    const QString base = git({"merge-base"_s, "HEAD"_s, "main"_s});
    const bool isMore = base != head || !git({"status"_s, "--porcelain"_s}).isEmpty();
    return base.isEmpty() ? "unknown"_s : base.left(7) + (isMore ? "+"_s : QString());
}

QString sentence(const QString& run)
{
    return "%1 on %2"_s.arg(run.section(QLatin1Char(';'), 0, 0), run.section(QLatin1Char(';'), 1));
}

} // namespace

Runs Runs::fromFile(const QString& file, QStringList& problems)
{
    static const QRegularExpression form("^([^;]+);(\\d{4}-\\d\\d-\\d\\d;[0-9a-f]{7}\\+?)$"_s);
    Runs runs;
    const QStringList lines = linesOfTable(file, header, problems);
    for (const QString& line : lines) {
        const auto match = form.match(line);
        if (!match.hasMatch())
            problems.append("no run: %1"_s.arg(line));
        runs.mRuns.insert(match.captured(1), match.captured(2));
    }
    return runs;
}

QString Runs::text() const
{
    QStringList lines(header);
    for (const Fault& fault : faults()) {
        const QString name = QString::fromStdString(fault.name);
        if (mRuns.contains(name))
            lines.append(name + QLatin1Char(';') + mRuns.value(name));
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QString Runs::now()
{
    static const QString all =
        QDate::currentDate().toString(Qt::ISODate) + QLatin1Char(';') + checkedOut();
    return all;
}

void Runs::note(const QString& fault)
{
    mRuns.insert(fault, now());
}

QStringList Runs::gaps() const
{
    QStringList problems;
    QStringList names;
    for (const Fault& fault : faults()) {
        names.append(QString::fromStdString(fault.name));
        if (!mRuns.contains(names.last()))
            problems.append("nothing says when %1 was tried"_s.arg(names.last()));
    }
    for (auto run = mRuns.cbegin(); run != mRuns.cend(); ++run) {
        if (!names.contains(run.key()))
            problems.append("there is no fault %1 that could have been tried"_s.arg(run.key()));
    }
    return problems;
}

QString Runs::of(const QString& group) const
{
    QMap<QString, QStringList> byRun;
    for (const Fault& fault : faults()) {
        const QString run = mRuns.value(QString::fromStdString(fault.name));
        if (QString::fromStdString(fault.group) == group && !run.isEmpty())
            byRun[run].append("\"%1\""_s.arg(QString::fromStdString(fault.what)));
    }
    if (byRun.isEmpty())
        return {};
    const auto most =
        std::max_element(byRun.cbegin(), byRun.cend(),
                         [](const auto& a, const auto& b) { return a.size() < b.size(); });
    QStringList parts("Tried "_s + sentence(most.key()));
    for (auto run = byRun.cbegin(); run != byRun.cend(); ++run) {
        if (run != most)
            parts.append("%1 %2"_s.arg(run->join(", "_s), sentence(run.key())));
    }
    return parts.join("; "_s) + QLatin1Char('.');
}

} // namespace Matrix
