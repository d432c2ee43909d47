// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "tools/commandline/description.h"

#include <optional>
#include <string_view>
#include <utility>

namespace CommandLine {

/// What a command line says.
struct Line
{
    std::string command; ///< empty when the program has none
    std::vector<std::string> arguments;
    std::vector<std::pair<std::string, std::string>> options; ///< name and value, in their order
    std::vector<std::string> rest; ///< another program's command, see Command::runs

    bool has(const std::string& option) const;
    /// The last one given.
    std::string value(const std::string& option, const std::string& otherwise = {}) const;
    std::vector<std::string> values(const std::string& option) const;
};

enum class Wish { Run, Help, Version, Misuse };

/// Reads the words behind the program's name. `problem` becomes one line on misuse, which says what
/// to do and holds no word that may be a secret.
Wish read(const Program& program, const std::vector<std::string>& words, Line& line,
          std::string& problem);

constexpr int exitMisuse = 2;
constexpr int exitNotWritten = 4;

/// Reads the command line and does what programs have in common: help, version, complaints, and the
/// texts that are made when the program is built. The exit status when that was all.
std::optional<int> answer(const Program& program, int argc, char** argv, Line& line);

/// Writes to standard output; says it on standard error when that fails. The exit status.
int printed(const Program& program, const std::string& text);
/// The same for what was written there before.
int flushed(const std::string& program);

/// Makes UTF-8 text safe for a terminal: control characters are shown as \xNN.
std::string printable(std::string_view text);

/// One line on standard error: "PROGRAM: TEXT", and that printable.
void complain(const std::string& program, std::string_view text);

/// How many columns a terminal there has; 0 when there is none.
int terminalWidth(int descriptor);

} // namespace CommandLine
