// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/description.h"

namespace CommandLine {

namespace {

std::string joined(const std::vector<std::string>& words, const std::string& between)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

/// "kelaccount-emulator" as a part of a function's name.
std::string identifier(std::string name)
{
    for (char& character : name)
        character = character == '-' ? '_' : character;
    return name;
}

/// For a text between single quotes.
std::string quoted(const std::string& text)
{
    std::string result;
    for (const char character : text)
        result += character == '\'' ? "'\\''" : std::string(1, character);
    return '\'' + result + '\'';
}

/// The options that are understood behind a command, or by a program without any.
std::vector<Option> optionsBehind(const Program& program, const Command* command)
{
    std::vector<Option> options = optionsOf(program, command);
    if (command && !command->runs)
        options.insert(options.end(), program.options.begin(), program.options.end());
    return options;
}

/// The same, each option once, of the whole program.
std::vector<Option> everyOption(const Program& program)
{
    std::vector<Option> options = optionsOf(program, nullptr);
    for (const Command& command : program.commands) {
        for (const Option& option : command.options) {
            bool known = false;
            for (const Option& other : options)
                known = known || other.name == option.name;
            if (!known)
                options.push_back(option);
        }
    }
    return options;
}

std::vector<std::string> commandNames(const Program& program)
{
    std::vector<std::string> names;
    for (const Command& command : program.commands)
        names.push_back(command.name);
    return names;
}

std::string header(const Program& program, const std::string& comment)
{
    return comment + " Completions for " + program.name + ' ' + program.version +
           ", made from its own description.\n";
}

// bash

std::string bashValue(const Value& value)
{
    if (value.completion == Completion::Files)
        return "compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- \"$cur\"))";
    if (value.completion == Completion::Choices)
        return "COMPREPLY=($(compgen -W '" + joined(value.choices, " ") + "' -- \"$cur\"))";
    return "COMPREPLY=()";
}

std::string bashWords(const std::vector<Option>& options)
{
    std::vector<std::string> words;
    for (const Option& option : options)
        words.push_back(option.name);
    return joined(words, " ");
}

std::string bashValueCases(const Program& program)
{
    std::string text;
    for (const Option& option : everyOption(program)) {
        if (!option.value.name.empty())
            text += "        " + option.name + ") " + bashValue(option.value) + "; return ;;\n";
    }
    return text;
}

std::string bashCommandCases(const Program& program)
{
    std::string text;
    for (const Command& command : program.commands) {
        text += "        " + command.name + ")\n            words='" +
                bashWords(optionsBehind(program, &command)) + "'\n";
        if (command.runs)
            text += "            [[ $cur == -* ]] || { COMPREPLY=($(compgen -c -- \"$cur\")); "
                    "return; }\n";
        else if (!command.arguments.empty() &&
                 command.arguments.front().value.completion != Completion::Nothing)
            text += "            [[ $cur == -* ]] || { " +
                    bashValue(command.arguments.front().value) + "; return; }\n";
        text += "            ;;\n";
    }
    return text;
}

std::string bashCompletions(const Program& program)
{
    const std::string name = '_' + identifier(program.name);
    std::vector<std::string> withValue;
    for (const Option& option : everyOption(program)) {
        if (!option.value.name.empty())
            withValue.push_back(option.name);
    }
    const std::string skip =
        withValue.empty() ? std::string()
                          : "            " + joined(withValue, "|") +
                                ") [[ ${COMP_WORDS[i + 1]-} == = ]] && ((i++)); ((i++)) ;;\n";
    return header(program, "#") + name + "()\n{\n" +
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    local command= words= i\n"
           "    COMPREPLY=()\n"
           "    # \"--option=value\" comes as three words.\n"
           "    [[ $cur == = ]] && cur=\n"
           "    [[ $prev == = ]] && prev=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    [[ -z $cur && ${COMP_WORDS[COMP_CWORD]} == = ]] && "
           "prev=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    case $prev in\n" +
           bashValueCases(program) +
           "    esac\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        case ${COMP_WORDS[i]} in\n" +
           skip +
           "            -*) ;;\n"
           "            *) command=${COMP_WORDS[i]}; break ;;\n"
           "        esac\n"
           "    done\n"
           "    case $command in\n"
           "        '') words='" +
           joined(commandNames(program), " ") + (program.commands.empty() ? "" : " ") +
           bashWords(optionsOf(program, nullptr)) + "' ;;\n" + bashCommandCases(program) +
           "    esac\n"
           "    COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
           "}\ncomplete -F " +
           name + ' ' + program.name + '\n';
}

// zsh

/// For a description among what _arguments is told of an option.
std::string zshText(const std::string& text)
{
    std::string result;
    for (const char character : text) {
        if (character == '[' || character == ']' || character == ':' || character == '\\')
            result += '\\';
        result += character;
    }
    return result;
}

std::string zshValue(const Value& value)
{
    if (value.completion == Completion::Files)
        return ':' + value.name + ":_files";
    if (value.completion == Completion::Choices)
        return ':' + value.name + ":(" + joined(value.choices, " ") + ')';
    return ':' + value.name + ": ";
}

std::string zshOptions(const std::vector<Option>& options, const std::string& indent)
{
    std::string text;
    for (const Option& option : options) {
        const bool flag = option.value.name.empty();
        const std::string described =
            '[' + zshText(option.text) + ']' + (flag ? std::string() : zshValue(option.value));
        const std::string times = option.repeats ? "*" : "";
        text += indent + quoted(times + option.name + (flag ? "" : "=") + described);
        if (!option.shortName.empty())
            text += ' ' + quoted(option.shortName + described);
        text += '\n';
    }
    return text;
}

std::string zshArguments(const Command& command, const std::string& indent)
{
    std::string text;
    for (const Argument& argument : command.arguments)
        text += indent + quoted((argument.optional ? ":" : "") + zshValue(argument.value)) + '\n';
    return command.runs ? text + indent + "'*:: :_normal'\n" : text;
}

std::string zshCommandCases(const Program& program)
{
    std::string text;
    for (const Command& command : program.commands) {
        text += "        " + command.name + ")\n            offers=(\n" +
                zshOptions(optionsBehind(program, &command), "                ") +
                zshArguments(command, "                ") + "            )\n            ;;\n";
    }
    return text;
}

std::string zshCompletions(const Program& program)
{
    const std::string name = '_' + identifier(program.name);
    std::string text = "#compdef " + program.name + '\n' + header(program, "#") + name +
                       "() {\n    local curcontext=\"$curcontext\" state line\n"
                       "    local -a offers commands\n    offers=(\n" +
                       zshOptions(optionsOf(program, nullptr), "        ") + "    )\n";
    if (program.commands.empty())
        return text + "    _arguments -s -S \"$offers[@]\"\n}\n" + name + " \"$@\"\n";
    text += "    commands=(\n";
    for (const Command& command : program.commands)
        text += "        " + quoted(command.name + ':' + zshText(command.text)) + '\n';
    return text +
           "    )\n"
           "    _arguments -C \"$offers[@]\" '1: :->command' '*:: :->behind' && return\n"
           "    if [[ $state == command ]]; then\n"
           "        _describe -t commands command commands\n"
           "        return\n"
           "    fi\n"
           "    case $line[1] in\n" +
           zshCommandCases(program) +
           "        *) return 1 ;;\n"
           "    esac\n"
           "    _arguments -S \"$offers[@]\"\n}\n" +
           name + " \"$@\"\n";
}

// fish

std::string fishOption(const Program& program, const Option& option, const std::string& condition)
{
    std::string text = "complete -c " + program.name;
    if (!condition.empty())
        text += " -n " + quoted(condition);
    text += " -l " + option.name.substr(2);
    if (!option.shortName.empty())
        text += " -s " + option.shortName.substr(1);
    if (option.value.completion == Completion::Files)
        text += " -r -F";
    else if (!option.value.name.empty())
        text += " -x";
    if (option.value.completion == Completion::Choices)
        text += " -a " + quoted(joined(option.value.choices, " "));
    return text + " -d " + quoted(option.text) + '\n';
}

std::string fishCompletions(const Program& program)
{
    std::string text = header(program, "#") + "complete -c " + program.name + " -f\n";
    for (const Option& option : optionsOf(program, nullptr))
        text += fishOption(program, option, {});
    const std::string none =
        "not __fish_seen_subcommand_from " + joined(commandNames(program), " ");
    for (const Command& command : program.commands) {
        text += "complete -c " + program.name + " -n " + quoted(none) + " -a " + command.name +
                " -d " + quoted(command.text) + '\n';
    }
    for (const Command& command : program.commands) {
        const std::string chosen = "__fish_seen_subcommand_from " + command.name;
        for (const Option& option : command.options)
            text += fishOption(program, option, chosen);
        if (command.runs) {
            text += "complete -c " + program.name + " -n " + quoted(chosen) +
                    " -x -a '(__fish_complete_subcommand)'\n";
        }
        for (const Argument& argument : command.arguments) {
            const std::string start = "complete -c " + program.name + " -n " + quoted(chosen);
            if (argument.value.completion == Completion::Files)
                text += start + " -F\n";
            else if (argument.value.completion == Completion::Choices)
                text += start + " -a " + quoted(joined(argument.value.choices, " ")) + '\n';
        }
    }
    return text;
}

} // namespace

std::string completions(const Program& program, const std::string& shell)
{
    if (shell == "bash")
        return bashCompletions(program);
    if (shell == "zsh")
        return zshCompletions(program);
    return shell == "fish" ? fishCompletions(program) : std::string();
}

} // namespace CommandLine
