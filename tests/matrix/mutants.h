// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace Matrix {

/// How many changes of one line each the tests of a folder notice, and which they do not.
class Mutants
{
public:
    static Mutants fromFolder(const QString& folder, QStringList& problems);

    /// Folders of `sources` that were not tried or whose tests notice too little, and survivors
    /// that nothing is said of.
    QStringList problems(const QString& sources) const;
    /// The part of the page about it.
    QString section() const;

private:
    struct Sample
    {
        QString folder;
        QString tests;
        QString seed;
        int changes = 0;
        int noticed = 0;
        QString run; ///< day and commit
    };
    struct Survivor
    {
        QString file;
        QString change;
        QString reason;
    };

    QVector<Sample> mSamples;
    QVector<Survivor> mSurvivors;
};

} // namespace Matrix
