// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace Matrix {

/// When each fault was tried with all operations, and on what.
class Runs
{
public:
    static Runs fromFile(const QString& file, QStringList& problems);
    QString text() const;

    /// This day and what is checked out, parted by ";".
    static QString now();
    /// The fault was tried now, on what is checked out here.
    void note(const QString& fault);
    /// Faults without a run, and runs of none.
    QStringList gaps() const;
    /// A sentence about those of a group.
    QString of(const QString& group) const;

private:
    QMap<QString, QString> mRuns; ///< by the fault's name: the day and the commit, parted by ";"
};

} // namespace Matrix
