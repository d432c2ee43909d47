// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/reader.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <map>

namespace CommandLine {

namespace {

constexpr const char* helpOption = "--help";
constexpr const char* versionOption = "--version";

/// What an argument is called in the parsing library, to which a comma parts names.
std::string internalName(size_t argument)
{
    return "argument" + std::to_string(argument);
}

/// One level of the command line as the parsing library knows it: the program, or one command.
class Level
{
public:
    Level(CLI::App& app, const Program& program, const Command* command) : mApp(app)
    {
        mApp.set_help_flag();
        for (const Option& option : optionsOf(program, command))
            add(option);
        // What holds for every command may stand behind its name, too.
        if (command && !command->runs) {
            for (const Option& option : program.options)
                add(option);
        }
        for (const Argument& argument : command ? command->arguments : program.arguments)
            add(argument);
    }

    bool asksFor(const std::string& flag) const { return mOptions.at(flag)->count() > 0; }

    void take(Line& line) const
    {
        for (const auto& option : mOptions) {
            for (const std::string& value : option.second->results())
                line.options.emplace_back(option.first, value);
        }
        for (const CLI::Option* argument : mArguments) {
            const CLI::results_t& results = argument->results();
            line.arguments.insert(line.arguments.end(), results.begin(), results.end());
        }
    }

private:
    static void setCheck(CLI::Option& option, const Value& value)
    {
        option.expected(1)->allow_extra_args(false);
        if (value.check) {
            option.check(CLI::Validator(
                [check = value.check](std::string& text) { return check(text); }, value.name));
        }
    }

    void add(const Option& option)
    {
        if (mOptions.count(option.name) > 0)
            return;
        const std::string names =
            option.shortName.empty() ? option.name : option.shortName + ',' + option.name;
        CLI::Option* added = nullptr;
        if (option.value.name.empty()) {
            added = mApp.add_flag(names)->disable_flag_override();
            added->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
        } else {
            added = mApp.add_option(names);
            setCheck(*added, option.value);
            added->multi_option_policy(option.repeats ? CLI::MultiOptionPolicy::TakeAll
                                                      : CLI::MultiOptionPolicy::TakeLast);
        }
        mOptions.emplace(option.name, added);
    }

    void add(const Argument& argument)
    {
        CLI::Option* const added = mApp.add_option(internalName(mArguments.size()));
        setCheck(*added, argument.value);
        added->required(!argument.optional);
        mArguments.push_back(added);
    }

    CLI::App& mApp;
    std::map<std::string, CLI::Option*> mOptions;
    std::vector<CLI::Option*> mArguments;
};

/// An empty value that is joined to its option would not count, and the next word would be taken.
std::vector<std::string> withEmptyValues(const std::vector<std::string>& words)
{
    std::vector<std::string> result;
    bool options = true;
    for (const std::string& word : words) {
        options = options && word != "--";
        if (options && word.size() > 3 && word.compare(0, 2, "--") == 0 && word.back() == '=') {
            result.push_back(word.substr(0, word.size() - 1));
            result.emplace_back();
        } else {
            result.push_back(word);
        }
    }
    return result;
}

/// Where another program's command begins: behind the options of a command that runs one. That
/// command's words are nothing to the parsing library.
size_t whereRestBegins(const Program& program, const std::vector<std::string>& words)
{
    const Command* command = nullptr;
    size_t i = 0;
    while (i < words.size()) {
        const std::string& word = words[i];
        if (word == "--")
            return command ? i : words.size();
        if (word.size() > 1 && word.front() == '-') {
            const std::vector<Option> options = optionsOf(program, command);
            const bool takesNext =
                std::any_of(options.begin(), options.end(), [&word](const Option& option) {
                    return option.name == word && !option.value.name.empty();
                });
            i += takesNext ? 2 : 1;
            continue;
        }
        if (command)
            return i;
        command = program.find(word);
        if (!command || !command->runs)
            return words.size();
        ++i;
    }
    return words.size();
}

std::string seeHelp(const Program& program, const Command* command)
{
    const bool ofCommand = command && program.find("help");
    return program.name + (ofCommand ? " help " + command->name : " --help") + " tells more";
}

/// Between what is wrong with a name and where to read on.
std::string orSimilar(const std::string& text, const std::vector<std::string>& names)
{
    std::string result;
    for (const std::string& name : similarTo(text, names))
        result += (result.empty() ? ", did you mean " : " or ") + name;
    return result.empty() ? "; " : result + "? ";
}

/// What is wrong with a word that belongs to nothing. Only an option's name or what stands in a
/// command's place is said again: any other word may be a secret.
std::string unexpected(const Program& program, const Command* command, const std::string& word)
{
    std::vector<std::string> names;
    if (word.size() > 1 && word.front() == '-') {
        for (const Option& option : optionsOf(program, command))
            names.push_back(option.name);
        for (const Option& option : program.options)
            names.push_back(option.name);
        const std::string name = word.substr(0, word.find('='));
        if (command && std::find(names.begin(), names.end(), name) != names.end())
            return name + " stands behind " + command->name + "; " + seeHelp(program, command);
        return "unknown option '" + name + '\'' + orSimilar(name, names) +
               seeHelp(program, command);
    }
    if (command || program.commands.empty())
        return "usage: " + program.name + ' ' + usageOf(program, command);
    for (const Command& known : program.commands)
        names.push_back(known.name);
    return "unknown command '" + word + '\'' + orSimilar(word, names) + program.name +
           " --help lists them";
}

/// An option's or an argument's name, as the parsing library's complaint has it in front.
std::string nameIn(const std::string& complaint, const std::vector<Argument>& arguments)
{
    const std::string name = complaint.substr(0, complaint.find(": "));
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (name == internalName(i))
            return arguments[i].value.name;
    }
    return name;
}

std::string problemOf(const Program& program, const Command* command, const CLI::App& app,
                      const CLI::ParseError& error)
{
    const std::vector<std::string> left = app.remaining(true);
    if (!left.empty())
        return unexpected(program, command, left.front());
    const std::string what = error.what();
    const size_t colon = what.find(": ");
    const std::string name = nameIn(what, command ? command->arguments : program.arguments);
    if (error.get_name() == "ValidationError")
        return name + ' ' + what.substr(colon + 2) + "; " + seeHelp(program, command);
    if (error.get_name() == "ArgumentMismatch") {
        // "json was given a disallowed flag override"
        const bool hasValue = colon == std::string::npos;
        return (hasValue ? "--" + name.substr(0, name.find(' ')) + " takes no value; "
                         : name + " needs a value; ") +
               seeHelp(program, command);
    }
    if (!command && !program.commands.empty())
        return "no command given; " + program.name + " --help lists them";
    return "usage: " + program.name + ' ' + usageOf(program, command);
}

/// The parser for a program, and what it found.
class Reader
{
public:
    explicit Reader(const Program& program)
        : mProgram(program), mApp(program.text, program.name), mRoot(mApp, program, nullptr)
    {
        if (program.commands.empty())
            return;
        mApp.require_subcommand(1);
        for (const Command& command : program.commands)
            mLevels.emplace_back(*mApp.add_subcommand(command.name), program, &command);
    }

    Wish read(const std::vector<std::string>& words, Line& line, std::string& problem)
    {
        const size_t end = whereRestBegins(mProgram, words);
        const auto rest = words.begin() + static_cast<std::ptrdiff_t>(end);
        line.rest.assign(rest != words.end() && *rest == "--" ? rest + 1 : rest, words.end());
        std::vector<std::string> backwards = withEmptyValues({words.begin(), rest});
        std::reverse(backwards.begin(), backwards.end());
        try {
            mApp.parse(backwards);
        } catch (const CLI::ParseError& error) {
            findCommand(line);
            if (const auto wish = asked())
                return *wish;
            problem = problemOf(mProgram, mCommand, mApp, error);
            return Wish::Misuse;
        }
        findCommand(line);
        if (const auto wish = asked())
            return *wish;
        mRoot.take(line);
        if (mLevel)
            mLevel->take(line);
        if (mCommand && mCommand->runs && line.rest.empty())
            problem = mCommand->name + " needs a command: " + mProgram.name + ' ' +
                      usageOf(mProgram, mCommand);
        return problem.empty() ? Wish::Run : Wish::Misuse;
    }

private:
    void findCommand(Line& line)
    {
        const std::vector<CLI::App*> parsed = mApp.get_subcommands();
        if (parsed.empty())
            return;
        line.command = parsed.front()->get_name();
        mCommand = mProgram.find(line.command);
        mLevel = &mLevels.at(static_cast<size_t>(mCommand - mProgram.commands.data()));
    }

    std::optional<Wish> asked() const
    {
        const auto either = [this](const std::string& flag) {
            return mRoot.asksFor(flag) || (mLevel && mLevel->asksFor(flag));
        };
        if (either(helpOption))
            return Wish::Help;
        return either(versionOption) ? std::optional<Wish>(Wish::Version) : std::nullopt;
    }

    const Program& mProgram;
    CLI::App mApp;
    Level mRoot;
    std::vector<Level> mLevels;
    const Command* mCommand = nullptr;
    const Level* mLevel = nullptr;
};

} // namespace

bool Line::has(const std::string& option) const
{
    return std::any_of(options.begin(), options.end(),
                       [&](const auto& given) { return given.first == option; });
}

std::string Line::value(const std::string& option, const std::string& otherwise) const
{
    const auto found = std::find_if(options.rbegin(), options.rend(),
                                    [&](const auto& given) { return given.first == option; });
    return found != options.rend() ? found->second : otherwise;
}

std::vector<std::string> Line::values(const std::string& option) const
{
    std::vector<std::string> result;
    for (const auto& given : options) {
        if (given.first == option)
            result.push_back(given.second);
    }
    return result;
}

Wish read(const Program& program, const std::vector<std::string>& words, Line& line,
          std::string& problem)
{
    try {
        return Reader(program).read(words, line, problem);
    } catch (const CLI::Error& error) {
        // A description that the parsing library cannot use; the tests go through all of them.
        problem = error.what();
        return Wish::Misuse;
    }
}

} // namespace CommandLine
