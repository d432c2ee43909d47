// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/description.h"

#include <algorithm>
#include <cctype>

namespace CommandLine {

namespace {

/// Text for troff, which takes backslashes, hyphens and a dot or quote at a line's start as its
/// own.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        const bool startsLine = result.empty() || result.back() == '\n';
        if (startsLine && (character == '.' || character == '\''))
            result += "\\&";
        if (character == '\\')
            result += "\\e";
        else if (character == '-')
            result += "\\-";
        else
            result += character;
    }
    return result;
}

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return text;
}

std::string bold(const std::string& text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return "\\fI" + escaped(text) + "\\fR";
}

std::string item(const std::string& term, const std::string& text)
{
    return ".TP\n" + term + '\n' + escaped(text) + '\n';
}

std::string optionItems(const std::vector<Option>& options)
{
    std::string text;
    for (const Option& option : options) {
        std::string term = option.shortName.empty() ? "" : bold(option.shortName) + ", ";
        term += bold(option.name);
        if (!option.value.name.empty())
            term += ' ' + italic(option.value.name);
        text += item(term, option.text + (option.repeats ? " (repeatable)" : ""));
    }
    return text;
}

std::string argumentItems(const std::vector<Argument>& arguments)
{
    std::string text;
    for (const Argument& argument : arguments)
        text += item(italic(argument.value.name), argument.text);
    return text;
}

std::string paragraphs(const std::string& text)
{
    std::string result;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find("\n\n", start), text.size());
        result += ".PP\n" + escaped(text.substr(start, end - start)) + '\n';
        start = end + 2;
    }
    return result;
}

std::string example(const Program& program, const std::string& text)
{
    return text.empty() ? std::string()
                        : ".PP\nExample:\n.PP\n.RS 4\n.nf\n" + escaped(program.name + ' ' + text) +
                              "\n.fi\n.RE\n";
}

std::string commandPart(const Program& program, const Command& command)
{
    return ".SS " + escaped(usageOf(program, &command)) + '\n' + escaped(command.text) + ".\n" +
           paragraphs(command.details) + argumentItems(command.arguments) +
           optionItems(command.options) + example(program, command.example);
}

} // namespace

std::string manualPage(const Program& program)
{
    std::string text = ".TH " + upper(program.name) + " 1 \"\" \"" + program.name + ' ' +
                       program.version + "\"\n.SH NAME\n" + escaped(program.name) + " \\- " +
                       escaped(program.text) + "\n.SH SYNOPSIS\n";
    if (program.commands.empty())
        text += bold(program.name) + ' ' + escaped(usageOf(program, nullptr)) + '\n';
    for (const Command& command : program.commands)
        text += bold(program.name) + ' ' + escaped(usageOf(program, &command)) + "\n.br\n";
    text += ".SH DESCRIPTION\n" + paragraphs(program.details) + argumentItems(program.arguments);
    text += example(program, program.example);
    if (!program.commands.empty())
        text += ".SH COMMANDS\n";
    for (const Command& command : program.commands)
        text += commandPart(program, command);
    text += ".SH OPTIONS\n" + optionItems(optionsOf(program, nullptr));
    for (const Table& table : program.tables) {
        text += ".SH " + upper(table.title) + '\n';
        for (const Table::Row& row : table.rows)
            text += item(bold(row.name), row.text);
    }
    if (program.seeAlso.empty())
        return text;
    text += ".SH SEE ALSO\n";
    for (const std::string& page : program.seeAlso)
        text += ".BR " + escaped(page) + " (1)" + (&page == &program.seeAlso.back() ? "\n" : ",\n");
    return text;
}

} // namespace CommandLine
