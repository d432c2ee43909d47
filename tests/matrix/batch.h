// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/cell.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

class LoopWatch;

/// Cells that one process runs, and that process: a crash ends no others.
namespace Matrix {

/// Which cells; an empty list is all.
struct Selection
{
    QString door;
    QStringList groups;
    QStringList faults;
    QStringList operations;

    bool has(const Row& row) const;
    bool has(const Fault& fault) const;
    QStringList arguments() const;
    static Selection fromArguments(const QStringList& arguments);
};

/// Runs the cells of this process, inside; each is a line on standard output.
int runInside(int argc, char** argv);

/// Runs that in a session of its own, with a tag server. Of a process that was started by
/// startAgain().
int inSession(int& argc, char** argv, const std::function<bool(LoopWatch&)>& run);

/// Starts this program again, with a service beside it, and waits. `onLine` is called for each line
/// that comes; what the result says is empty when it has come to its good end.
QString startAgain(const QStringList& arguments, const std::function<void(const QString&)>& onLine,
                   const QMap<QString, QString>& variables = {});

struct Outcome
{
    QVector<Cell> cells;
    QString problem; ///< empty when the process has come to its end
};

/// Has the programs at `folder` run a selection, and waits. `onCell` is called for each as it
/// comes.
Outcome runBatch(const Selection& selection, const std::function<void(const Cell&)>& onCell);

} // namespace Matrix
