// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/description.h"

#include <algorithm>
#include <sstream>

namespace CommandLine {

namespace {

constexpr int nameColumn = 2;
constexpr int widestName = 26;

std::string argumentText(const Argument& argument)
{
    return argument.optional ? '[' + argument.value.name + ']' : argument.value.name;
}

/// Names in one column, texts in another; a name that is too long has a line of its own.
std::string rowsText(const std::vector<Table::Row>& rows, int width)
{
    int names = 0;
    for (const Table::Row& row : rows) {
        const auto size = static_cast<int>(row.name.size());
        if (size <= widestName)
            names = std::max(names, size);
    }
    const int textColumn = nameColumn + names + 2;
    std::string text;
    for (const Table::Row& row : rows) {
        std::string line = std::string(nameColumn, ' ') + row.name;
        if (static_cast<int>(row.name.size()) > names && !row.text.empty()) {
            text += line + '\n';
            line.clear();
        }
        if (!row.text.empty())
            line.resize(static_cast<size_t>(textColumn), ' ');
        text += line + wrapped(row.text, width, textColumn, textColumn) + '\n';
    }
    return text;
}

std::string section(const std::string& title, const std::vector<Table::Row>& rows, int width)
{
    return rows.empty() ? std::string() : '\n' + title + ":\n" + rowsText(rows, width);
}

std::string paragraphs(const std::string& text, int width)
{
    std::string result;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find("\n\n", start), text.size());
        result += '\n' + wrapped(text.substr(start, end - start), width, 0, 0) + '\n';
        start = end + 2;
    }
    return result;
}

std::vector<Table::Row> rowsOf(const std::vector<Option>& options)
{
    std::vector<Table::Row> rows;
    for (const Option& option : options)
        rows.push_back({shownName(option), option.text + (option.repeats ? " (repeatable)" : "")});
    return rows;
}

std::vector<Table::Row> rowsOf(const std::vector<Argument>& arguments)
{
    std::vector<Table::Row> rows;
    for (const Argument& argument : arguments)
        rows.push_back({argument.value.name, argument.text});
    return rows;
}

std::string commandHelp(const Program& program, const Command& command, int width)
{
    std::string text = "usage: " + program.name + ' ' + usageOf(program, &command) + "\n\n" +
                       wrapped(command.text, width, 0, 0) + '\n' +
                       paragraphs(command.details, width) +
                       section("Arguments", rowsOf(command.arguments), width) +
                       section("Options", rowsOf(command.options), width);
    if (!command.example.empty())
        text += "\nExample:\n  " + program.name + ' ' + command.example + '\n';
    return text + "\n" +
           wrapped(program.name + " --help lists what holds for every command.", width, 0, 0) +
           '\n';
}

} // namespace

const Command* Program::find(const std::string& command) const
{
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const Command& c) { return c.name == command; });
    return found != commands.end() ? &*found : nullptr;
}

std::string shownName(const Option& option)
{
    return (option.shortName.empty() ? "" : option.shortName + ", ") + option.name +
           (option.value.name.empty() ? "" : ' ' + option.value.name);
}

std::vector<Option> optionsOf(const Program& program, const Command* command)
{
    std::vector<Option> options = command ? command->options : program.options;
    options.push_back({"--help", {}, "say what there is", false, "-h"});
    options.push_back({"--version", {}, "say which version this is"});
    return options;
}

std::string usageOf(const Program& program, const Command* command)
{
    if (!command && !program.commands.empty())
        return "[OPTIONS] COMMAND [ARGUMENTS]";
    const bool hasOptions = !(command ? command->options : program.options).empty();
    std::string usage = command ? command->name : std::string();
    const auto add = [&usage](const std::string& word) {
        usage += (usage.empty() ? "" : " ") + word;
    };
    for (const Argument& argument : command ? command->arguments : program.arguments)
        add(argumentText(argument));
    if (hasOptions)
        add("[OPTIONS]");
    if (command && command->runs)
        add("-- COMMAND [ARGUMENT...]");
    return usage;
}

std::string helpText(const Program& program, const Command* command, int width)
{
    if (command)
        return commandHelp(program, *command, width);
    std::vector<Table::Row> commands;
    for (const Command& known : program.commands) {
        std::string name = known.name;
        for (const Argument& argument : known.arguments)
            name += ' ' + argumentText(argument);
        commands.push_back({name + (known.runs ? " -- COMMAND" : ""), known.text});
    }
    std::string text = "usage: " + program.name + ' ' + usageOf(program, nullptr) + "\n\n" +
                       wrapped(program.text, width, 0, 0) + '\n' +
                       paragraphs(program.details, width) + section("Commands", commands, width) +
                       section("Arguments", rowsOf(program.arguments), width) +
                       section("Options", rowsOf(optionsOf(program, nullptr)), width);
    for (const Table& table : program.tables)
        text += section(table.title, table.rows, width);
    if (!program.example.empty())
        text += "\nExample:\n  " + program.name + ' ' + program.example + '\n';
    if (!commands.empty()) {
        text += '\n' +
                wrapped(program.name + " help COMMAND shows a command's options and an example.",
                        width, 0, 0) +
                '\n';
    }
    return text;
}

std::string wrapped(const std::string& text, int width, int indent, int used)
{
    std::istringstream words(text);
    std::string result;
    int column = used;
    bool first = true;
    for (std::string word; words >> word; first = false) {
        const auto size = static_cast<int>(word.size());
        if (!first && column + 1 + size > width) {
            result += '\n' + std::string(static_cast<size_t>(indent), ' ');
            column = indent;
        } else if (!first) {
            result += ' ';
            ++column;
        }
        result += word;
        column += size;
    }
    return result;
}

} // namespace CommandLine
