// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "outcome.h"
#include "tools/commandline/reader.h"

#include <QString>

/// What holds for every command.
struct ClientSettings
{
    QString consumerKey;
    QString consumerSecret;
    int server = 2;
    QString service = QStringLiteral("kelaccount");
    int timeLimitSeconds = 70;
    int passwordDescriptor = -1; ///< where passwords are read from; -1 asks for them
    OutputFormat format = OutputFormat::Rows;
    bool verbose = false;
    QString traceFile; ///< empty: none

    static ClientSettings from(const CommandLine::Line& line);

    /// Finds key and secret in options, files and environment; a missing one is a problem, and
    /// `problem` becomes one line that says what to do.
    void findCredentials(QString& problem);

private:
    QString secretFile;
    bool hasSecretFile = false;
};

/// The servers that have names, and the check for one.
const std::vector<std::string>& serverNames();
std::string serverProblem(const std::string& text);
/// The check for the name of a trace file, which says its format.
std::string traceProblem(const std::string& text);
