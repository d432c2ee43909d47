// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

namespace CommandLine {

// A program's command line as data: the parser, the help, the manual page and the completions of
// three shells are made of it.

/// Empty when the text is a good value; otherwise what is wrong with it, to stand behind the name:
/// "needs a date like 1990-02-28, not '31.12.2020'".
using Check = std::string (*)(const std::string& text);

enum class Completion {
    Nothing,
    Choices,
    Files,
};

/// What an option or an argument takes.
struct Value
{
    std::string name = {}; ///< as it is shown, such as FILE; empty: the option is a flag
    Check check = nullptr;
    Completion completion = Completion::Nothing;
    std::vector<std::string> choices = {}; ///< for completion; `check` has the last word
};

struct Option
{
    std::string name; ///< "--server"
    Value value = {};
    std::string text = {};
    bool repeats = false;
    std::string shortName = {}; ///< "-h"
};

struct Argument
{
    Value value = {};
    std::string text = {};
    bool optional = false;
};

struct Command
{
    std::string name;
    std::vector<Argument> arguments;
    std::vector<Option> options;
    std::string text;         ///< one line
    std::string example;      ///< without the program's name
    std::string details = {}; ///< paragraphs, parted by empty lines
    bool runs = false;        ///< behind its options stands a command of another program's
};

/// A table of the help and the manual page: exit statuses, environment.
struct Table
{
    struct Row
    {
        std::string name;
        std::string text;
    };
    std::string title;
    std::vector<Row> rows;
};

struct Program
{
    std::string name;
    std::string version;
    std::string text;    ///< one line
    std::string details; ///< paragraphs, parted by empty lines
    std::vector<Option> options;
    std::vector<Argument> arguments; ///< of a program without commands
    std::vector<Command> commands;
    std::vector<Table> tables;
    std::string example = {}; ///< of a program without commands
    std::vector<std::string> seeAlso = {};

    const Command* find(const std::string& command) const;
};

/// "check-user NAME", "run [OPTIONS] -- COMMAND [ARGUMENT...]": behind the program's name.
std::string usageOf(const Program& program, const Command* command);
/// "--server SERVER"
std::string shownName(const Option& option);
/// The options of a command, or of the program, with those that every program has.
std::vector<Option> optionsOf(const Program& program, const Command* command);

/// The names that are most like the text; none when no name is.
std::vector<std::string> similarTo(const std::string& text, const std::vector<std::string>& names);

/// The help for all, or for one command, in lines of at most this many columns.
std::string helpText(const Program& program, const Command* command, int width);
/// A page for man(1).
std::string manualPage(const Program& program);
/// A shell's completions: "bash", "zsh" or "fish"; empty for others.
std::string completions(const Program& program, const std::string& shell);

/// Text broken between words. The first line is as long as the others minus `used` columns; the
/// others begin with `indent` blanks.
std::string wrapped(const std::string& text, int width, int indent, int used);

} // namespace CommandLine
