// SPDX-License-Identifier: LGPL-2.1-or-later
#include "options.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iostream>
#include <sstream>

namespace TagServerEmulator {

const char* const usage =
    "Usage: kelaccount-tag-server [OPTION...]\n"
    "Answers service tag requests on an abstract Unix socket.\n"
    "\n"
    "  --name NAME         socket name (default: obc)\n"
    "  --tag TEXT          the tag (without blanks in the environment variable)\n"
    "  --refuse CODE       answer with a failure and this error code\n"
    "  --reply-bytes N     a successful reply of N bytes, 1 to 65536, its status included\n"
    "  --slow MS           wait before each reply\n"
    "  --hang              never reply\n"
    "  --die-after-accept  end as soon as a client has connected\n"
    "  --die-with-parent   end when the process that started this one ends\n"
    "  --help              print this text\n"
    "\n"
    "The environment variable KELACCOUNT_TAG_SERVER_OPTIONS holds options too; those of the\n"
    "command line come after them. Writes \"ready\" to standard output once it listens.\n";

namespace {

constexpr long largestReply = 65536;
constexpr std::size_t longestName = 107;

std::optional<long> number(const std::string& text, long smallest, long largest)
{
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 0);
    if (text.empty() || *end != '\0' || errno != 0 || value < smallest || value > largest)
        return std::nullopt;
    return value;
}

// Whether the option is one that takes a value, and the value was good.
bool setValue(Options& options, const std::string& option, const std::string& value)
{
    if (option == "--name" && !value.empty() && value.size() <= longestName) {
        options.name = value;
        return true;
    }
    if (option == "--tag" && value.size() < largestReply) {
        options.tag = value;
        return true;
    }
    if (option == "--refuse") {
        if (const auto code = number(value, 0, 0xFFFFFFFFL)) {
            options.refusal = static_cast<unsigned>(*code);
            return true;
        }
    }
    if (option == "--reply-bytes") {
        if (const auto size = number(value, 1, largestReply)) {
            options.replyBytes = static_cast<int>(*size);
            return true;
        }
    }
    if (option == "--slow") {
        if (const auto wait = number(value, 0, INT_MAX)) {
            options.slowMs = static_cast<int>(*wait);
            return true;
        }
    }
    return false;
}

bool* findSwitch(Options& options, const std::string& option)
{
    if (option == "--hang")
        return &options.hang;
    if (option == "--die-after-accept")
        return &options.dieAfterAccept;
    if (option == "--die-with-parent")
        return &options.dieWithParent;
    return nullptr;
}

} // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (bool* on = findSwitch(options, arguments[i])) {
            *on = true;
            continue;
        }
        if (i + 1 == arguments.size() || !setValue(options, arguments[i], arguments[i + 1])) {
            std::cerr << "kelaccount-tag-server: cannot use " << arguments[i] << "\n" << usage;
            return std::nullopt;
        }
        ++i;
    }
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
