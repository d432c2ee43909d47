// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/cell.h"

#include "support/literals.h"

#include <QStringList>

using namespace KelTest;

namespace Matrix {

QString Cell::header()
{
    return "door;operation;group;fault;status;answers;met;next;ms;stall_us;memory_kib"_s;
}

QString Cell::line() const
{
    return QStringList({door, operation, group, fault, status, QString::number(answers),
                        isReached() ? "yes"_s : "no"_s, next, QString::number(tookMs),
                        QString::number(stallUs), QString::number(memoryKiB)})
        .join(QLatin1Char(';'));
}

Cell Cell::fromLine(const QString& line)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    if (fields.size() != header().split(QLatin1Char(';')).size())
        return {};
    Cell cell;
    cell.door = fields.at(0);
    cell.operation = fields.at(1);
    cell.group = fields.at(2);
    cell.fault = fields.at(3);
    cell.status = fields.at(4);
    cell.answers = fields.at(5).toInt();
    cell.hits = fields.at(6) == "yes"_s ? 1 : 0;
    cell.next = fields.at(7);
    cell.tookMs = fields.at(8).toLongLong();
    cell.stallUs = fields.at(9).toLongLong();
    cell.memoryKiB = fields.at(10).toLongLong();
    return cell;
}

qint64 stallBound(const Cell& cell)
{
    constexpr qint64 tagServerUs = 10500 * 1000;
    constexpr qint64 modemUs = 5000 * 1000;
    constexpr qint64 lockUs = 1500 * 1000;
    if (cell.door == "facade"_s && cell.fault.startsWith("tags-"_s))
        return tagServerUs;
    if (cell.door == "facade"_s &&
        (cell.fault.startsWith("modem-"_s) || cell.fault.startsWith("system-bus-"_s)))
        return modemUs;
    // The accounts framework waits for a lock where it stands.
    if (cell.door == "facade"_s && cell.fault == "accounts-locked"_s)
        return lockUs;
    // So does QtDBus, where a process meets the bus for the first time.
    if (cell.door == "facade"_s && cell.fault.startsWith("bus-stopped"_s))
        return lockUs;
    return stallBoundUs;
}

int boundMs(const Row& row, int guardMs)
{
    constexpr int tagServerMs = 10000;
    constexpr int sessionMs = 30000; // the daemon, the store and the accounts database
    // What is asked of the service one after the other, at most.
    switch (row.needs) {
    case Needs::Nothing:
        return tagServerMs + busyMs;
    case Needs::Service:
        return guardMs + tagServerMs + busyMs;
    case Needs::Session:
        return 4 * guardMs + sessionMs + busyMs;
    case Needs::SetUp:
        return 4 * guardMs + tagServerMs + 2 * sessionMs + busyMs;
    }
    return 0;
}

} // namespace Matrix
