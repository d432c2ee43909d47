// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "outcome.h"

#include <kelaccount/kelaccounts.h>

#include <QHash>
#include <QStringList>

#include <functional>
#include <vector>

/// What a command was given.
struct CommandInput
{
    QStringList arguments;
    QHash<QString, QString> options; ///< by name, "--" included
    QStringList secrets;             ///< in the order in which the command names them

    QString option(const char* name, const char* otherwise = "") const
    {
        return options.value(QLatin1String(name), QLatin1String(otherwise));
    }
};

/// Receives a command's outcome; what comes after the first is ignored.
using Report = std::function<void(const Outcome&)>;

/// One operation of the library on the command line.
struct Command
{
    const char* name;
    const char* arguments; ///< their names, blank-separated, optional ones in brackets
    const char* options;   ///< the command's own, as "--name=VALUE" or "--flag", blank-separated
    const char* secrets;   ///< what to ask for without showing it, blank-separated; behind an "@"
                           ///< the option without which it is not asked for
    const char* summary;
    const char* operation; ///< the method that is called
    bool callsService;     ///< and so needs key and secret

    /// Connects to the answering signal with `context`, and calls the operation.
    void (*start)(KelAccount::KelAccounts& accounts, QObject* context, const CommandInput& input,
                  const Report& report);

    /// Empty when the command can be run with this many arguments and these options.
    QString problemWith(const CommandInput& input) const;
    /// The names of the secrets that a call with these options takes.
    QStringList secretsFor(const CommandInput& input) const;
};

const std::vector<Command>& commands();
const Command* findCommand(const QString& name);

/// Whether any command knows the option, with a value or as a flag.
bool isCommandOption(const QString& name);
bool isCommandFlag(const QString& name);
