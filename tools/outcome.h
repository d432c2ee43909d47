// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QVariant>

#include <utility>
#include <vector>

/// One answer of the library, as the client reports it.
struct Outcome
{
    QString signal;
    int status = 0;
    std::vector<std::pair<QString, QVariant>> values; ///< what the signal carried, by name
    QString failure = {}; ///< why the command failed although the status is 0
    QString cause = {};   ///< why the status is what it is, where that is known

    QString command = {};
    QString call = {}; ///< the operation with its arguments
    double milliseconds = 0;
};

enum class OutputFormat {
    Rows, ///< a row for each value
    Line, ///< operation, status, time, and the values that are not empty, if they fit in one line
    Json, ///< one object on one line
};

/// Prints an outcome on standard output.
void printOutcome(const Outcome& outcome, OutputFormat format);
