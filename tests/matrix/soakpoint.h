// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "matrix/possessions.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace Matrix {

struct SoakPoint
{
    QString kind; ///< of the calls: "service", "session" or "set-up"
    qint64 calls = 0;
    qint64 faults = 0; ///< calls among them that met one
    qint64 milliseconds = 0;
    Possessions has;
    QString day;
    QString commit;

    static QString header();
    QString line() const;
    /// Without a kind when it is none.
    static SoakPoint fromLine(const QString& line);
};

/// What came of a soak.
class Soak
{
public:
    static Soak fromFile(const QString& file, QStringList& problems);
    void add(const SoakPoint& point) { mPoints.append(point); }
    QString text() const;

    /// What is not flat, and what is missing.
    QStringList problems() const;
    /// The part of the page about it.
    QString section() const;
    QString picture() const;

private:
    QVector<SoakPoint> of(const QString& kind) const;

    QVector<SoakPoint> mPoints;
};

} // namespace Matrix
