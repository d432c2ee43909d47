// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/cell.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

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

struct Outcome
{
    QVector<Cell> cells;
    QString problem; ///< empty when the process has come to its end
};

/// Has the programs at `folder` run a selection, and waits. `onCell` is called for each as it
/// comes.
Outcome runBatch(const Selection& selection, const std::function<void(const Cell&)>& onCell);

} // namespace Matrix
