// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "outcome.h"
#include "tools/commandline/reader.h"

#include <QHash>
#include <QStringList>

#include <functional>
#include <vector>

namespace KelAccount {
class KelAccounts;
}

struct ClientSettings;

/// What a command was given.
struct CommandInput
{
    const ClientSettings* settings = nullptr; ///< never null; outlives the answer
    QStringList arguments;
    QHash<QString, QString> options; ///< by name, "--" included; of a flag, empty
    QStringList secrets;             ///< in the order in which the command names them

    QString option(const char* name, const char* otherwise = "") const
    {
        return options.value(QLatin1String(name), QLatin1String(otherwise));
    }
    bool has(const char* flag) const { return options.contains(QLatin1String(flag)); }
};

/// Receives a command's outcome; what comes after the first is ignored.
using Report = std::function<void(const Outcome&)>;

/// A secret that a command asks for without showing it.
struct Secret
{
    std::string name;
    std::string onlyWith = {}; ///< the option without which it is not asked for
};

/// A value that a command answers with, in rows and in JSON.
struct Field
{
    std::string name; ///< "*": the service names them
    enum class Type { Text, Number, YesNo, Texts, TextsByName } type = Type::Text;
    bool always = true; ///< false: with some answers only
};

/// One operation of the library on the command line.
struct ClientCommand
{
    CommandLine::Command line;
    std::vector<Secret> secrets;
    const char* operation; ///< the method that is called
    bool callsService;     ///< and so needs key and secret
    std::vector<Field> fields;

    /// Calls the operation, which a signal answers.
    void (*call)(KelAccount::KelAccounts& accounts, const CommandInput& input);
    /// Instead, where it is answered otherwise or by more: calls it and reports.
    void (*callAndReport)(KelAccount::KelAccounts& accounts, const CommandInput& input,
                          const Report& report) = nullptr;

    /// The names of the secrets that a call with these options takes.
    QStringList secretsFor(const CommandInput& input) const;
};

const std::vector<ClientCommand>& commands();
const ClientCommand* findCommand(const std::string& name);

/// The client's command line: what holds for all commands, and the commands.
const CommandLine::Program& clientProgram();
