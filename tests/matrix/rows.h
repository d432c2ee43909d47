// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaMethod>
#include <QString>
#include <QStringList>
#include <QVector>

/// The operations that are tried: whatever the facade's meta-object and the table of the client's
/// calls have.
namespace Matrix {

/// What an operation needs, and so which bounds it has.
enum class Needs {
    Nothing, ///< it is answered by the library itself
    Service, ///< a request to the service
    Session, ///< the daemon, the plugin, and it the service
    SetUp,   ///< all of that, and the accounts database
};

struct Row
{
    QString door; ///< "facade" or "client"
    QString name; ///< as it is called on the page
    Needs needs = Needs::Nothing;
    QMetaMethod method = {}; ///< of the facade

    QString title() const { return door + QLatin1Char('.') + name; }
};

/// All rows; in `problems` what has no place in them, a line each.
QVector<Row> rows(QStringList& problems);

} // namespace Matrix
