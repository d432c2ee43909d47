// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/page.h"

#include "matrix/tablefile.h"
#include "support/literals.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

using namespace KelTest;

namespace Matrix {

namespace {

const QVector<Row>& allRows()
{
    static const QVector<Row> all = [] {
        QStringList problems;
        return rows(problems);
    }();
    return all;
}

/// Where each stands among its like: thousands of cells ask.
template <class All, class Name>
QHash<QString, int> numbered(const All& all, Name name)
{
    QHash<QString, int> numbers;
    for (const auto& one : all)
        numbers.insert(name(one), numbers.size());
    return numbers;
}

int rowNumber(const Cell& cell)
{
    static const QHash<QString, int> numbers =
        numbered(allRows(), [](const Row& row) { return row.title(); });
    return numbers.value(cell.row(), -1);
}

const Row* rowOf(const Cell& cell)
{
    const int number = rowNumber(cell);
    return number < 0 ? nullptr : &allRows().at(number);
}

int faultNumber(const QString& name)
{
    static const QHash<QString, int> numbers =
        numbered(faults(), [](const Fault& fault) { return QString::fromStdString(fault.name); });
    return numbers.value(name, -1);
}

bool isSuccess(const QString& status)
{
    bool isNumber = false;
    const int number = status.section(QLatin1Char(','), 0, 0).toInt(&isNumber);
    return !isNumber || number == 0;
}

/// "## The network" is "the-network" for who links there.
QMap<int, QString> anchorsOf(const QString& statuses)
{
    QMap<int, QString> anchors;
    QString anchor;
    static const QRegularExpression row("^\\| (\\d+) \\|"_s);
    for (const QString& line : statuses.split(QLatin1Char('\n'))) {
        if (line.startsWith("## "_s)) {
            anchor = line.mid(3).toLower();
            anchor.remove(QRegularExpression("[^a-z0-9 -]"_s));
            anchor.replace(QLatin1Char(' '), QLatin1Char('-'));
        }
        const auto match = row.match(line);
        if (match.hasMatch())
            anchors.insert(match.captured(1).toInt(), anchor);
    }
    return anchors;
}

QString linked(const QString& status, const QMap<int, QString>& anchors)
{
    bool isNumber = false;
    const int number = status.section(QLatin1Char(','), 0, 0).toInt(&isNumber);
    if (!isNumber || number == 0)
        return status;
    // What stands for the daemon's numbers is the row with the first.
    const QString anchor = anchors.value(number, number < 400 ? anchors.value(1) : QString());
    return anchor.isEmpty() ? status : "[%1](statuses.md#%2)"_s.arg(status, anchor);
}

/// Most say the one thing, and these the others.
QString collapsed(const QVector<Cell>& cells, const QMap<int, QString>& anchors)
{
    QMap<QString, QStringList> byStatus;
    for (const Cell& cell : cells)
        byStatus[cell.isReached() ? cell.status : "not reached"_s].append(cell.row());
    if (byStatus.isEmpty())
        return "-"_s;
    const auto most =
        std::max_element(byStatus.cbegin(), byStatus.cend(),
                         [](const auto& a, const auto& b) { return a.size() < b.size(); });
    QStringList parts(linked(most.key(), anchors));
    for (auto it = byStatus.cbegin(); it != byStatus.cend(); ++it) {
        // The facade's captcha says so for each failure, and for nothing else.
        if (it == most || (it.key() == "0, no picture"_s && !isSuccess(most.key())))
            continue;
        // The door is of no interest where both say the same.
        QStringList names;
        for (const QString& row : *it) {
            const QString name = row.section(QLatin1Char('.'), 1);
            const bool isBoth =
                it->contains("facade."_s + name) && it->contains("client."_s + name);
            const QString shown = isBoth ? name : row;
            if (!names.contains(shown))
                names.append(shown);
        }
        parts.append("%1: %2"_s.arg(names.join(", "_s), linked(it.key(), anchors)));
    }
    return parts.join("; "_s);
}

/// Where the promise is not kept, and why. A cell that keeps it has no place here.
struct Exception
{
    const char* operation; ///< of both doors
    const char* faults;    ///< parted by blanks
    const char* next;      ///< what the next call says there
    const char* why;
};

constexpr Exception exceptions[] = {
    {"changePassword", "secrets-read-only secrets-full", "614 (0/0/0)",
     "The service has the new password, which is what the answer 0 says; the daemon cannot store "
     "it, "
     "and tells neither plugin nor library. So the next change is refused with 614 for the old "
     "password that the device does not have. Signing out, and in again with the new password, "
     "makes it whole: that is done in the run, and the call works then."},
};

const Exception* exceptionFor(const Cell& cell)
{
    for (const Exception& exception : exceptions) {
        if (cell.operation == text(exception.operation) &&
            text(exception.faults).split(QLatin1Char(' ')).contains(cell.fault))
            return &exception;
    }
    return nullptr;
}

template <class Figure>
qint64 largest(const QVector<Cell>& cells, Figure figure)
{
    qint64 most = 0;
    for (const Cell& cell : cells)
        most = qMax<qint64>(most, cell.*figure);
    return most;
}

QString seconds(qint64 milliseconds)
{
    return QString::number(double(milliseconds) / 1000, 'f', milliseconds < 10000 ? 2 : 1);
}

} // namespace

/// When daemon or plugin go, several notice, and which of them is the first is a matter of the
/// moment.
static QString comparable(const Cell& cell)
{
    static const QStringList gone = {"1"_s, "3"_s, "310"_s, "311"_s};
    return gone.contains(cell.status) ? gone.join("/"_s) : cell.status;
}

QString outcomeOf(const Cell& cell)
{
    return "status %1, %2 answer%3, fault %4, next call %5"_s.arg(comparable(cell))
        .arg(cell.answers)
        .arg(cell.answers == 1 ? QString() : "s"_s, cell.isReached() ? "met"_s : "not met"_s,
             cell.next);
}

QString beyondBounds(const Cell& cell, int busyStallMs)
{
    const Row* const row = rowOf(cell);
    const int fault = faultNumber(cell.fault);
    if (!row || fault < 0)
        return "nobody knows the cell"_s;
    const int guard = faults()[static_cast<size_t>(fault)].waits ? shortGuardMs : longGuardMs;
    QStringList problems;
    if (cell.tookMs > boundMs(*row, guard))
        problems.append("answered after %1 ms"_s.arg(cell.tookMs));
    if (cell.stallUs > stallBound(cell) + busyStallMs * 1000LL)
        problems.append("the loop stood still for %1 us"_s.arg(cell.stallUs));
    if (cell.memoryKiB > memoryBoundKiB)
        problems.append("%1 KiB"_s.arg(cell.memoryKiB));
    return problems.join(", "_s);
}

QString Table::key(const Cell& cell)
{
    return "%1 %2 %3 %4"_s.arg(faultNumber(cell.fault), 5, 10, QLatin1Char('0'))
        .arg(rowNumber(cell), 5, 10, QLatin1Char('0'))
        .arg(cell.fault, cell.row());
}

const Cell* Table::cell(const QString& door, const QString& operation, const QString& fault) const
{
    Cell wanted;
    wanted.door = door;
    wanted.operation = operation;
    wanted.fault = fault;
    const auto found = mCells.constFind(key(wanted));
    return found == mCells.cend() ? nullptr : &*found;
}

Table Table::fromFile(const QString& file, QStringList& problems)
{
    Table table;
    const QStringList lines = linesOfTable(file, Cell::header(), problems);
    for (const QString& line : lines) {
        const Cell cell = Cell::fromLine(line);
        if (cell.operation.isEmpty() || cell.line() != line)
            problems.append("no cell: %1"_s.arg(line));
        else if (table.sameAs(cell))
            problems.append("twice: %1"_s.arg(line));
        else
            table.add(cell);
    }
    return table;
}

QString Table::text() const
{
    QStringList lines(Cell::header());
    for (const Cell& cell : mCells)
        lines.append(cell.line());
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void Table::meet(const Table& well)
{
    for (Cell& cell : mCells) {
        const Cell* const other = well.cell(cell.door, cell.operation, "none"_s);
        if (other && other->status != cell.status)
            cell.hits = 1;
    }
}

QStringList Table::wholeFaults() const
{
    QStringList whole;
    for (const Fault& fault : faults()) {
        const QString name = QString::fromStdString(fault.name);
        if (std::all_of(allRows().cbegin(), allRows().cend(),
                        [&](const Row& row) { return cell(row.door, row.name, name); }))
            whole.append(name);
    }
    return whole;
}

QStringList Table::gaps() const
{
    QStringList problems;
    for (const Fault& fault : faults()) {
        for (const Row& row : allRows()) {
            if (!cell(row.door, row.name, QString::fromStdString(fault.name)))
                problems.append(
                    "%1 has no cell for %2"_s.arg(row.title(), QString::fromStdString(fault.name)));
        }
    }
    for (const Cell& cell : mCells) {
        if (rowNumber(cell) < 0 || faultNumber(cell.fault) < 0)
            problems.append("nobody asks for %1 with %2"_s.arg(cell.row(), cell.fault));
    }
    return problems;
}

/// Once the fault is over, the call does what it does after a success, or what it does the first
/// time.
QString Table::works(const Cell& cell) const
{
    const Cell* const well = this->cell(cell.door, cell.operation, "none"_s);
    if (!well)
        return "nothing says what it should do"_s;
    const int fault = faultNumber(cell.fault);
    if (fault >= 0 && faults()[static_cast<size_t>(fault)].isForGood && cell.next == notAsked)
        return {};
    const bool isFirst = cell.next == well->status;
    // What was found out once may be kept, and a second set-up is refused.
    const bool isSecond =
        isSuccess(cell.status) && (cell.next == well->next || cell.next == cell.status);
    return isFirst || isSecond ? QString() : "the next call said %1"_s.arg(cell.next);
}

QStringList Table::broken() const
{
    QStringList problems;
    for (const Cell& cell : mCells) {
        const auto complain = [&](const QString& what) {
            if (!what.isEmpty())
                problems.append("%1 with %2: %3"_s.arg(cell.row(), cell.fault, what));
        };
        if (cell.answers != 1)
            complain("%1 answers"_s.arg(cell.answers));
        complain(beyondBounds(cell));
        const Exception* const exception = exceptionFor(cell);
        if (!exception)
            complain(works(cell));
        else if (cell.next != QLatin1String(exception->next))
            complain("the next call said %1"_s.arg(cell.next));
    }
    return problems;
}

QString Table::page(const QString& statuses, const Runs& runs) const
{
    const QMap<int, QString> anchors = anchorsOf(statuses);
    const struct
    {
        Needs needs;
        const char* title;
    } kinds[] = {{Needs::Service, "Without credentials"},
                 {Needs::Session, "Of a session"},
                 {Needs::SetUp, "Set-ups"}};
    QString text;
    QString group;
    QVector<Cell> ofTheGroup;
    const auto endGroup = [&] {
        QStringList never;
        for (const Row& row : allRows()) {
            const auto reached = [&](const Cell& cell) {
                return cell.row() == row.title() && cell.isReached();
            };
            const bool isThere =
                std::any_of(ofTheGroup.cbegin(), ofTheGroup.cend(),
                            [&](const Cell& cell) { return cell.row() == row.title(); });
            if (isThere && std::none_of(ofTheGroup.cbegin(), ofTheGroup.cend(), reached))
                never.append(row.title());
        }
        if (!never.isEmpty())
            text +=
                "\nNot reached by %1: each fault counts whom it meets, and stayed at 0.\n"_s.arg(
                    never.join(", "_s));
        if (!ofTheGroup.isEmpty())
            text += QLatin1Char('\n') + runs.of(group) + QLatin1Char('\n');
        ofTheGroup.clear();
    };
    for (const Fault& fault : faults()) {
        QVector<Cell> cells;
        for (const Row& row : allRows()) {
            if (const Cell* const one =
                    cell(row.door, row.name, QString::fromStdString(fault.name)))
                cells.append(*one);
        }
        if (cells.isEmpty())
            continue;
        const QString name = QString::fromStdString(fault.group);
        if (name != group) {
            endGroup();
            group = name;
            text += "\n## %1\n\n| | Without credentials | Of a session | Set-ups | Seconds | Stall "
                    "| MiB | Next |\n"
                    "|---|---|---|---|---:|---:|---:|---|\n"_s.arg(group);
        }
        ofTheGroup += cells;
        QStringList fields(QString::fromStdString(fault.what));
        for (const auto& kind : kinds) {
            QVector<Cell> some;
            std::copy_if(cells.cbegin(), cells.cend(), std::back_inserter(some),
                         [&](const Cell& cell) { return rowOf(cell)->needs == kind.needs; });
            fields.append(collapsed(some, anchors));
        }
        QStringList notWorking;
        for (const Cell& cell : cells) {
            if (!works(cell).isEmpty())
                notWorking.append("%1: %2"_s.arg(cell.row(), cell.next));
        }
        fields.append(seconds(largest(cells, &Cell::tookMs)));
        fields.append(QString::number(largest(cells, &Cell::stallUs) / 1000));
        fields.append(QString::number(double(largest(cells, &Cell::memoryKiB)) / 1024, 'f', 1));
        const bool isAsked = std::any_of(cells.cbegin(), cells.cend(),
                                         [](const Cell& cell) { return cell.next != notAsked; });
        fields.append(!isAsked               ? notAsked
                      : notWorking.isEmpty() ? "works"_s
                                             : notWorking.join("; "_s));
        text += "| "_s + fields.join(" | "_s) + " |\n"_s;
    }
    endGroup();
    text += "\n## Where the promise is not kept\n\n"_s;
    for (const Exception& exception : exceptions) {
        QStringList names;
        for (const Fault& fault : faults()) {
            const QString name = QString::fromStdString(fault.name);
            if (QString::fromUtf8(exception.faults).split(QLatin1Char(' ')).contains(name))
                names.append("\"%1\""_s.arg(QString::fromStdString(fault.what)));
        }
        text += "- %1, %2: %3\n"_s.arg(QString::fromUtf8(exception.operation), names.join(", "_s),
                                       QString::fromUtf8(exception.why));
    }
    return text;
}

} // namespace Matrix
