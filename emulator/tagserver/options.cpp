// SPDX-License-Identifier: LGPL-2.1-or-later
#include "options.h"

#include "tools/commandline/checks.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <sstream>

namespace TagServerEmulator {

namespace {

constexpr long largestReply = 65536;
constexpr std::size_t longestName = 107;

// Error codes are known by their hexadecimal numbers, too. They have 32 bits, as a long has on some
// machines.
std::optional<long long> number(const std::string& text, long long smallest, long long largest)
{
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0' || errno != 0 || value < smallest || value > largest)
        return std::nullopt;
    return value;
}

std::string codeProblem(const std::string& text)
{
    if (number(text, 0, 0xFFFFFFFFLL))
        return {};
    return "needs a code from 0 to 0xFFFFFFFF, not '" + text + '\'';
}

std::string nameProblem(const std::string& text)
{
    if (!text.empty() && text.size() <= longestName)
        return {};
    return "needs a name of 1 to " + std::to_string(longestName) + " bytes";
}

std::string tagProblem(const std::string& text)
{
    if (text.size() < largestReply)
        return {};
    return "needs less than " + std::to_string(largestReply) + " bytes";
}

} // namespace

const CommandLine::Program& tagServerProgram()
{
    static const CommandLine::Program program = {
        "kelaccount-tag-server",
        KELACCOUNT_VERSION,
        "stand in for the device's tag server",
        "Answers service tag requests on an abstract Unix socket, and writes \"ready\" to standard "
        "output once it listens.",
        {{"--name", {"NAME", nameProblem}, "socket name (obc)"},
         {"--tag", {"TEXT", tagProblem}, "the tag (without blanks in the environment variable)"},
         {"--refuse", {"CODE", codeProblem}, "answer with a failure and this error code"},
         {"--reply-bytes",
          {"N", CommandLine::number<1, largestReply>},
          "a successful reply of N bytes, its status included"},
         {"--slow", {"MS", CommandLine::number<0, INT_MAX>}, "wait before each reply"},
         {"--hang", {}, "never reply"},
         {"--die-after-accept", {}, "end as soon as a client has connected"},
         {"--die-with-parent", {}, "end when the process that started this one ends"}},
        {},
        {},
        {{"Environment",
          {{"KELACCOUNT_TAG_SERVER_OPTIONS",
            "options; those of the command line come after them"}}},
         {"Exit status",
          {{"0", "ended as --die-after-accept wants it"},
           {"1", "it cannot listen"},
           {"2", "misuse"},
           {"4", "the output cannot be written"}}}},
        "--refuse 0x3001",
        {"kelaccount-emulator"},
    };
    return program;
}

Options optionsFrom(const CommandLine::Line& line)
{
    Options options;
    options.name = line.value("--name", options.name);
    options.tag = line.value("--tag", options.tag);
    if (const auto code = number(line.value("--refuse"), 0, 0xFFFFFFFFLL))
        options.refusal = static_cast<unsigned>(*code);
    if (const auto size = number(line.value("--reply-bytes"), 1, largestReply))
        options.replyBytes = static_cast<int>(*size);
    if (const auto wait = number(line.value("--slow"), 0, INT_MAX))
        options.slowMs = static_cast<int>(*wait);
    options.hang = line.has("--hang");
    options.dieAfterAccept = line.has("--die-after-accept");
    options.dieWithParent = line.has("--die-with-parent");
    return options;
}

std::vector<std::string> environmentArguments()
{
    const char* text = std::getenv("KELACCOUNT_TAG_SERVER_OPTIONS");
    std::istringstream words(text ? text : "");
    std::vector<std::string> arguments;
    for (std::string word; words >> word;)
        arguments.push_back(word);
    return arguments;
}

} // namespace TagServerEmulator
