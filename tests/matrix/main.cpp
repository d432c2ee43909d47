// SPDX-License-Identifier: LGPL-2.1-or-later
// Breaks the world under every operation, and writes down what comes of it. See usage.
#include "matrix/batch.h"
#include "matrix/mutants.h"
#include "matrix/otherapplication.h"
#include "matrix/page.h"
#include "matrix/soak.h"
#include "matrix/soakpoint.h"
#include "support/literals.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

using namespace KelTest;
using namespace Matrix;

namespace {

constexpr int defaultJobs = 2;

QString contents(const QString& file)
{
    QFile input(file);
    return input.open(QIODevice::ReadOnly) ? QString::fromUtf8(input.readAll()) : QString();
}

bool write(const QString& file, const QString& text)
{
    QSaveFile output(file);
    return output.open(QIODevice::WriteOnly) && output.write(text.toUtf8()) >= 0 && output.commit();
}

void complain(const QStringList& problems)
{
    for (const QString& problem : problems)
        std::fprintf(stderr, "%s\n", qPrintable(problem));
}

/// What the page is made of.
struct Written
{
    Table table;
    Runs runs;
    Soak soak;
    Mutants mutants;

    static Written in(const QString& folder, QStringList& problems)
    {
        return {Table::fromFile(folder + "/reliability.csv"_s, problems),
                Runs::fromFile(folder + "/reliability-runs.csv"_s, problems),
                Soak::fromFile(folder + "/reliability-soak.csv"_s, problems),
                Mutants::fromFolder(folder, problems)};
    }
};

QString pageOf(const Written& written, const QString& folder)
{
    const Table& table = written.table;
    QStringList problems;
    QString text = contents(QStringLiteral(KELACCOUNT_MATRIX_FOLDER "/introduction.md"));
    const auto put = [&text](const char* name, const QString& value) {
        text.replace(QLatin1Char('{') + QLatin1String(name) + QLatin1Char('}'), value);
    };
    put("faults", QString::number(faults().size() - 1));
    put("rows", QString::number(rows(problems).size()));
    put("cells", QString::number(table.cells().size()));
    put("guard", QString::number(shortGuardMs / 1000.0));
    put("factor", QString::number(60000 / shortGuardMs));
    put("busy", QString::number(busyMs / 1000));
    put("memory", QString::number(memoryBoundKiB / 1024));
    put("stall", QString::number(stallBoundUs / 1000));
    return text + table.page(contents(folder + "/statuses.md"_s), written.runs) +
           written.soak.section() + written.mutants.section();
}

/// What is run side by side: a process that ends takes no more than that with it.
QVector<Selection> batches(const Selection& wanted)
{
    QStringList problems;
    QStringList groups;
    for (const Fault& fault : faults()) {
        const QString group = QString::fromStdString(fault.group);
        if (wanted.has(fault) && !groups.contains(group))
            groups.append(group);
    }
    QVector<Selection> all;
    for (const QString& group : groups) {
        for (const char* door : {"facade", "client"}) {
            for (const bool isOfTheDevice : {true, false}) {
                Selection one = wanted;
                one.door = text(door);
                one.groups = QStringList(group);
                one.operations.clear();
                for (const Row& row : rows(problems)) {
                    const bool fits = (row.needs > Needs::Service) == isOfTheDevice;
                    if (fits && row.door == one.door &&
                        (wanted.operations.isEmpty() || wanted.operations.contains(row.name) ||
                         wanted.operations.contains(row.title())))
                        one.operations.append(row.name);
                }
                const bool isForGood =
                    std::any_of(faults().begin(), faults().end(), [&](const Fault& fault) {
                        return one.has(fault) && fault.isForGood;
                    });
                const auto add = [&all, &one](const std::function<bool(const Fault&)>& fits,
                                              const QStringList& operations) {
                    Selection some = one;
                    some.operations = operations;
                    some.faults.clear();
                    for (const Fault& fault : faults()) {
                        if (one.has(fault) && fits(fault))
                            some.faults.append(QString::fromStdString(fault.name));
                    }
                    if (!some.faults.isEmpty() && !operations.isEmpty())
                        all.append(some);
                };
                add([](const Fault& fault) { return !fault.isForGood; }, one.operations);
                // After one of these a process is of no use for another cell.
                for (const QString& operation : isForGood ? one.operations : QStringList()) {
                    for (const Fault& last : faults()) {
                        if (last.isForGood)
                            add([&last](const Fault& fault) { return &fault == &last; },
                                QStringList(operation));
                    }
                }
            }
        }
    }
    return all;
}

/// All of the batches; the problems that a process had.
QStringList run(const QVector<Selection>& batches, int jobs, Table& table,
                const std::function<void()>& save)
{
    std::atomic<int> next{0};
    std::mutex mutex;
    QStringList problems;
    int done = 0;
    const auto onCell = [&](const Cell& cell) {
        const std::lock_guard<std::mutex> lock(mutex);
        table.add(cell);
        if (++done % 100 == 0)
            std::fprintf(stderr, "%d cells, now at %s with %s\n", done, qPrintable(cell.row()),
                         qPrintable(cell.fault));
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < jobs; ++i) {
        threads.emplace_back([&] {
            for (int at = next++; at < batches.size(); at = next++) {
                const Outcome outcome = runBatch(batches.at(at), onCell);
                const std::lock_guard<std::mutex> lock(mutex);
                save();
                if (!outcome.problem.isEmpty())
                    problems.append(batches.at(at).arguments().join(QLatin1Char(' ')) + ": "_s +
                                    outcome.problem);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    return problems;
}

/// A machine that does other things as well may hold up anything once. What is beyond its bounds,
/// or did not come about, is tried again.
QStringList runAgain(const QVector<Selection>& batches, int jobs, Table& table,
                     const std::function<void()>& save)
{
    QVector<Selection> again;
    for (const Selection& batch : batches) {
        for (const QString& operation : batch.operations) {
            Selection one = batch;
            one.operations = QStringList(operation);
            one.faults.clear();
            for (const QString& fault : batch.faults) {
                const Cell* const cell = table.cell(batch.door, operation, fault);
                if (!cell || !beyondBounds(*cell).isEmpty())
                    one.faults.append(fault);
            }
            if (!one.faults.isEmpty())
                again.append(one);
        }
    }
    return again.isEmpty() ? QStringList() : run(again, jobs, table, save);
}

/// How what came differs from what the table says.
QStringList differences(const Table& came, const Table& written)
{
    QStringList problems;
    for (const Cell& cell : came.cells()) {
        const Cell* const before = written.sameAs(cell);
        if (!before)
            problems.append("%1 with %2 is not in the table"_s.arg(cell.row(), cell.fault));
        else if (outcomeOf(*before) != outcomeOf(cell))
            problems.append("%1 with %2: %3; the table says %4"_s.arg(
                cell.row(), cell.fault, outcomeOf(cell), outcomeOf(*before)));
        const QString beyond = beyondBounds(cell, busyMs);
        if (!beyond.isEmpty())
            problems.append("%1 with %2: %3"_s.arg(cell.row(), cell.fault, beyond));
    }
    return problems;
}

QStringList list(const QString& text)
{
    return text.split(QLatin1Char(','), Qt::SkipEmptyParts);
}

QStringList faultsOf(const QString& names, bool areLight)
{
    if (!areLight)
        return list(names);
    QStringList light;
    for (const Fault& fault : faults()) {
        if (!fault.alone)
            light.append(QString::fromStdString(fault.name));
    }
    return light;
}

/// Every operation and every fault has its cell, every cell keeps the promise, and the page is made
/// of them.
int checkPage(const QString& folder)
{
    QStringList problems;
    rows(problems);
    const Written written = Written::in(folder, problems);
    problems += written.table.gaps() + written.table.broken() + written.runs.gaps() +
                written.soak.problems() +
                written.mutants.problems(QStringLiteral(KELACCOUNT_MATRIX_SOURCES));
    if (contents(folder + "/images/soak.svg"_s) != written.soak.picture())
        problems.append("images/soak.svg is not what reliability-soak.csv makes"_s);
    if (contents(folder + "/reliability.md"_s) != pageOf(written, folder))
        problems.append(
            "reliability.md is not what reliability.csv makes: kelaccount-matrix --page %1"_s.arg(
                folder));
    complain(problems);
    return problems.isEmpty() ? 0 : 1;
}

/// Renews what has come, and the page with it. `whole` are the faults that were tried with all.
QStringList renew(Written& written, const Table& came, const QStringList& whole,
                  const QString& folder)
{
    for (const Cell& cell : came.cells())
        written.table.add(cell);
    written.table.meet(written.table);
    for (const QString& fault : whole)
        written.runs.note(fault);
    QStringList problems = written.table.broken();
    if (!write(folder + "/reliability.csv"_s, written.table.text()) ||
        !write(folder + "/reliability-runs.csv"_s, written.runs.text()) ||
        !write(folder + "/reliability.md"_s, pageOf(written, folder)))
        problems.append("cannot write in %1"_s.arg(folder));
    return problems;
}

/// What other runs have written of these cells.
Table merged(const QStringList& folders, const Selection& wanted, QStringList& problems)
{
    Table came;
    for (const QString& folder : folders) {
        const Table other = Table::fromFile(folder + "/reliability.csv"_s, problems);
        for (const Cell& cell : other.cells()) {
            const bool isWanted =
                wanted.faults.contains(cell.fault) &&
                (wanted.operations.isEmpty() || wanted.operations.contains(cell.operation) ||
                 wanted.operations.contains(cell.row()));
            if (isWanted)
                came.add(cell);
        }
    }
    return came;
}

/// So many calls of each kind, parted by commas; into the folder, if there is one.
int soak(const QStringList& counts, const QString& folder)
{
    Soak all;
    QStringList problems;
    const auto onLine = [&all](const QString& line) {
        SoakPoint point = SoakPoint::fromLine(line);
        if (point.kind.isEmpty())
            return;
        point.day = Runs::now().section(QLatin1Char(';'), 0, 0);
        point.commit = Runs::now().section(QLatin1Char(';'), 1);
        all.add(point);
        std::printf("%s\n", qPrintable(point.line()));
        std::fflush(stdout);
    };
    // Else pieces that each thread keeps for its next ones would count as allocated.
    const QString ending = startAgain(QStringList(text(soakMark)) + counts, onLine,
                                      {{"GLIBC_TUNABLES"_s, "glibc.malloc.tcache_count=0"_s}});
    if (!ending.isEmpty())
        problems.append("the soak: "_s + ending);
    problems += all.problems();
    if (!folder.isEmpty() && problems.isEmpty()) {
        const bool isWritten = write(folder + "/reliability-soak.csv"_s, all.text()) &&
                               write(folder + "/images/soak.svg"_s, all.picture());
        Written written = Written::in(folder, problems);
        if (!isWritten || !write(folder + "/reliability.md"_s, pageOf(written, folder)))
            problems.append("cannot write in %1"_s.arg(folder));
    }
    complain(problems);
    return problems.isEmpty() ? 0 : 1;
}

void addOptions(QCommandLineParser& parser)
{
    parser.setApplicationDescription("Every operation by every fault."_s);
    parser.addHelpOption();
    parser.addOption({"operations"_s,
                      "Only these, as \"signOut\" or \"client.signOut\", parted by commas."_s,
                      "NAMES"_s});
    parser.addOption({"faults"_s, "Only these."_s, "NAMES"_s});
    parser.addOption({"light"_s, "Only faults that need no process for themselves."_s});
    parser.addOption(
        {"jobs"_s, "So many processes at once."_s, "NUMBER"_s, QString::number(defaultJobs)});
    parser.addOption({"write"_s,
                      "Writes table and page into this folder, with what was run renewed."_s,
                      "FOLDER"_s});
    parser.addOption({"missing"_s, "Runs only what the table lacks, or has beyond its bounds."_s});
    parser.addOption({"merge"_s,
                      "Runs nothing, and takes the named faults from where other runs have just "
                      "written them."_s,
                      "FOLDERS"_s});
    parser.addOption({"soak"_s,
                      "Runs nothing of the table, but so many calls without credentials, of a "
                      "session and of set-ups, parted by commas, for what they leave behind."_s,
                      "NUMBERS"_s});
    parser.addOption({"page"_s, "Runs nothing, and writes the page."_s, "FOLDER"_s});
    parser.addOption(
        {"compare"_s, "Compares what comes with the table in this folder."_s, "FOLDER"_s});
    parser.addOption(
        {"check"_s, "Runs nothing: is the table whole, and the page made of it?"_s, "FOLDER"_s});
}

/// What came of the cells that are asked for.
Table tried(const QCommandLineParser& parser, const Written& written, const QString& folder,
            QStringList& problems)
{
    Selection wanted;
    wanted.operations = list(parser.value("operations"_s));
    wanted.faults = faultsOf(parser.value("faults"_s), parser.isSet("light"_s));
    if (parser.isSet("merge"_s))
        return merged(list(parser.value("merge"_s)), wanted, problems);
    Table came;
    // As it goes along: all of it takes long.
    const auto save = [&] {
        Table now = written.table;
        for (const Cell& cell : came.cells())
            now.add(cell);
        now.meet(now);
        if (parser.isSet("write"_s))
            write(folder + "/reliability.csv"_s, now.text());
    };
    const int jobs = qMax(1, parser.value("jobs"_s).toInt());
    const QVector<Selection> all = batches(wanted);
    if (parser.isSet("missing"_s))
        came = written.table;
    else // whatever else ended a process shows in what is tried again
        problems += run(all, jobs, came, save).filter("crashed"_s);
    problems += runAgain(all, jobs, came, save);
    return came;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--inside") == 0)
        return runInside(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], besideMark) == 0)
        return runBeside(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], soakMark) == 0)
        return runSoakInside(argc, argv);
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    addOptions(parser);
    parser.process(application);
    if (parser.isSet("check"_s))
        return checkPage(parser.value("check"_s));
    if (parser.isSet("soak"_s))
        return soak(list(parser.value("soak"_s)), parser.value("write"_s));
    QStringList problems;
    rows(problems);
    const QString folder = parser.value(parser.isSet("compare"_s) ? "compare"_s
                                        : parser.isSet("page"_s)  ? "page"_s
                                                                  : "write"_s);
    Written written;
    if (!folder.isEmpty() &&
        (QFile::exists(folder + "/reliability.csv"_s) || !parser.isSet("write"_s)))
        written = Written::in(folder, problems);
    const bool isForThePage = parser.isSet("page"_s);
    Table came = isForThePage ? Table() : tried(parser, written, folder, problems);
    came.meet(written.table.isEmpty() ? came : written.table);
    if (parser.isSet("compare"_s)) {
        problems += differences(came, written.table);
    } else if (!folder.isEmpty()) {
        // Of what is missing some may have been there before.
        const QStringList whole = parser.isSet("missing"_s) ? QStringList() : came.wholeFaults();
        problems += renew(written, came, whole, folder);
    } else {
        std::printf("%s", qPrintable(came.text()));
        problems += came.broken();
    }
    complain(problems);
    return problems.isEmpty() && (isForThePage || !came.isEmpty()) ? 0 : 1;
}
