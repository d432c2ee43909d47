// SPDX-License-Identifier: LGPL-2.1-or-later
// What the client's help, manual page and completions say.
#include "clientsettings.h"
#include "commands.h"
#include "doctorcommand.h"
#include "tools/commandline/checks.h"

using CommandLine::Completion;
using CommandLine::Option;
using CommandLine::Table;

namespace {

std::string typeName(Field::Type type)
{
    switch (type) {
    case Field::Type::Text:
        return "text";
    case Field::Type::Number:
        return "number";
    case Field::Type::YesNo:
        return "true or false";
    case Field::Type::Texts:
        return "texts";
    case Field::Type::TextsByName:
        return "texts by name";
    }
    return {};
}

/// What a command asks for, and what it answers with.
std::string detailsOf(const ClientCommand& command)
{
    std::string text = command.line.details;
    const auto add = [&text](const std::string& paragraph) {
        text += (text.empty() ? "" : "\n\n") + paragraph;
    };
    std::string secrets;
    for (const Secret& secret : command.secrets) {
        secrets += (secrets.empty() ? "" : ", ") + secret.name +
                   (secret.onlyWith.empty() ? "" : " (with " + secret.onlyWith + ')');
    }
    if (!secrets.empty())
        add("Asks for: " + secrets + '.');
    std::string fields;
    for (const Field& field : command.fields) {
        fields += (fields.empty() ? "" : ", ") +
                  (field.name == "*" ? "values that the service names" : field.name) + " (" +
                  typeName(field.type) + (field.always ? "" : ", where there is one") + ')';
    }
    add(fields.empty() ? "Answers with the status alone." : "Answers with: " + fields + '.');
    return text;
}

std::vector<Option> everyCommandsOptions()
{
    return {
        {"--consumer-key", {"KEY"}, "the application's key, or KELACCOUNT_CONSUMER_KEY"},
        {"--consumer-secret-file",
         {"FILE", nullptr, Completion::Files},
         "its secret, or KELACCOUNT_CONSUMER_SECRET; never an argument, which every user of the "
         "machine can read"},
        {"--server",
         {"SERVER", serverProblem, Completion::Choices, serverNames()},
         "production (default), staging, test-a to test-d, or the server's index"},
        {"--service", {"NAME"}, "the service to sign in to"},
        {"--password-fd",
         {"N", CommandLine::number<0, 1023>},
         "read passwords and answers from this descriptor, one a line, instead of asking for them"},
        {"--timeout",
         {"SECONDS", CommandLine::number<1, 3600>},
         "how long to wait for the answer (70)"},
        {"--json", {}, "one line of JSON instead of a row for each value"},
        {"--line", {}, "all in one line, as long as it fits"},
        {"--verbose", {}, "show the library's log"},
        {"--trace",
         {"FILE", traceProblem, Completion::Files},
         "write down when what happened, as HAR (.har) or for a trace viewer (.json)"},
    };
}

std::vector<Table> tables()
{
    return {
        {"Environment",
         {{"KELACCOUNT_CONSUMER_KEY", "the application's key"},
          {"KELACCOUNT_CONSUMER_SECRET", "its secret"},
          {"NO_COLOR", "when it is not empty, a terminal is shown no colours"}}},
        {"Exit status",
         {{"0", "status 0"},
          {"1", "any other status"},
          {"2", "misuse: nothing was called"},
          {"3", "no answer came in time"},
          {"4", "the output, or the trace, cannot be written"},
          {"5", "doctor: there are warnings, and no error"}}},
    };
}

} // namespace

const CommandLine::Program& clientProgram()
{
    static const CommandLine::Program program = [] {
        CommandLine::Program made{
            "kelaccount",
            KELACCOUNT_VERSION,
            "call operations of the account service",
            "Calls one operation of the account service and prints its answer, or says what the "
            "library sees of this device.",
            everyCommandsOptions(),
            {},
            {},
            tables(),
            {},
            {"kelaccount-emulator"},
        };
        for (const ClientCommand& command : commands()) {
            made.commands.push_back(command.line);
            made.commands.back().details = detailsOf(command);
        }
        made.commands.push_back(doctorCommand());
        std::vector<std::string> names;
        for (const CommandLine::Command& command : made.commands)
            names.push_back(command.name);
        made.commands.push_back({"help",
                                 {{{"COMMAND", nullptr, Completion::Choices, names},
                                   "the command to tell about",
                                   true}},
                                 {},
                                 "say what a command does and takes",
                                 "help register"});
        return made;
    }();
    return program;
}
