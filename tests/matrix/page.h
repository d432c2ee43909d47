// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/cell.h"
#include "matrix/runs.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Matrix {

/// The table that the page is made of: a cell for each operation and each fault.
class Table
{
public:
    /// What stands in the file; problems are what is no table.
    static Table fromFile(const QString& file, QStringList& problems);
    void add(const Cell& cell) { mCells.insert(key(cell), cell); }
    QString text() const;
    bool isEmpty() const { return mCells.isEmpty(); }

    const Cell* cell(const QString& door, const QString& operation, const QString& fault) const;
    const Cell* sameAs(const Cell& other) const
    {
        return cell(other.door, other.operation, other.fault);
    }
    QList<Cell> cells() const { return mCells.values(); }

    /// Who is answered otherwise than without a fault has met it, whether it was seen or not: who
    /// has no bus can say nothing that is counted.
    void meet(const Table& well);

    /// Cells that are missing, and those that nobody asks for.
    QStringList gaps() const;
    /// The faults of whose row every cell is there.
    QStringList wholeFaults() const;
    /// Where the promise is not kept.
    QStringList broken() const;

    /// The page, where `statuses` is the text of the page that it links to.
    QString page(const QString& statuses, const Runs& runs) const;

private:
    static QString key(const Cell& cell);
    QString works(const Cell& cell) const;

    QMap<QString, Cell> mCells; ///< in the order of rows and faults
};

/// What is the same each time, for comparison letter by letter.
QString outcomeOf(const Cell& cell);

/// Whether a cell's figures are within the bounds; else what is not. A test beside others on a busy
/// machine lets it stand still for longer: for as long as threads wait for one another's processor.
QString beyondBounds(const Cell& cell, int busyStallMs = 0);

} // namespace Matrix
