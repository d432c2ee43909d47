// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/faults.h"
#include "matrix/rows.h"

#include <QString>

/// What came of one operation under one fault.
namespace Matrix {

struct Cell
{
    QString door;
    QString operation;
    QString group;
    QString fault;
    QString status;       ///< "none": no answer came
    int answers = 0;      ///< signals or results
    qint64 tookMs = -1;   ///< from the call to the first
    qint64 stallUs = 0;   ///< the longest time for which the caller's loop stood still
    qint64 memoryKiB = 0; ///< what the process grew by at most
    int hits = 0;         ///< how often the operation met the fault
    QString next;         ///< the status of the same call once the fault is over

    QString row() const { return door + QLatin1Char('.') + operation; }
    bool isReached() const { return hits > 0 || fault == QLatin1String("none"); }

    static QString header();
    QString line() const;
    static Cell fromLine(const QString& line);
};

/// How long an answer may take, in milliseconds, where a reply is waited for `guardMs` instead of
/// 60 s; see the page.
int boundMs(const Row& row, int guardMs);

constexpr int shortGuardMs = 1500; ///< of a fault that is there until the guard ends it
constexpr int longGuardMs = 60000; ///< of all others: they end by themselves
constexpr int busyMs = 15000;      ///< that a machine may be busy with other things
constexpr qint64 memoryBoundKiB = 64 * 1024;
constexpr qint64 stallBoundUs = 250 * 1000;
/// Of a cell: the facade says that some of its operations block for as long as the tag server or
/// the modem lets them wait.
qint64 stallBound(const Cell& cell);

/// In the place of the next call's status, where none can work.
const QString notAsked = QStringLiteral("-");

} // namespace Matrix
