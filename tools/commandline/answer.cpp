// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace CommandLine {

namespace {

constexpr int usualWidth = 80;
constexpr int narrowest = 40;
constexpr int widest = 100;

int helpWidth()
{
    const int width = terminalWidth(STDOUT_FILENO);
    return width == 0 ? usualWidth : std::clamp(width, narrowest, widest);
}

int printHelp(const Program& program, const std::string& name)
{
    const Command* const command = program.find(name);
    return printed(program, helpText(program, command, helpWidth()));
}

/// "kelaccount help check-user"; the word behind "help" may be mistyped.
std::optional<int> askedByCommand(const Program& program, const Line& line)
{
    if (line.command != "help")
        return std::nullopt;
    const std::string about = line.arguments.empty() ? std::string() : line.arguments.front();
    if (!about.empty() && !program.find(about)) {
        Line none;
        std::string problem;
        read(program, {about}, none, problem);
        complain(program.name, problem);
        return exitMisuse;
    }
    return printHelp(program, about);
}

/// A descriptor of the three that is closed would be given to the next file or connection, and what
/// is printed would go there. In its place stands one that cannot be used.
void keepStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) != -1)
            continue;
        // The lowest that is free: this one.
        [[maybe_unused]] const int opened =
            ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

} // namespace

std::optional<int> answer(const Program& program, int argc, char** argv, Line& line)
{
    keepStandardDescriptors();
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    // For the build, which installs what comes: no option of anybody's.
    if (words.size() == 2 && words[0] == "--generate") {
        const std::string text =
            words[1] == "man" ? manualPage(program) : completions(program, words[1]);
        if (!text.empty())
            return printed(program, text);
    }
    std::string problem;
    switch (read(program, words, line, problem)) {
    case Wish::Help:
        return line.command == "help" && !line.arguments.empty() ? askedByCommand(program, line)
                                                                 : printHelp(program, line.command);
    case Wish::Version:
        return printed(program, program.name + ' ' + program.version + '\n');
    case Wish::Misuse:
        complain(program.name, problem);
        return exitMisuse;
    case Wish::Run:
        break;
    }
    return askedByCommand(program, line);
}

int printed(const Program& program, const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    return flushed(program.name);
}

int flushed(const std::string& program)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return 0;
    complain(program, std::string("the output cannot be written: ") + std::strerror(errno));
    return exitNotWritten;
}

std::string printable(std::string_view text)
{
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // The upper control characters are two bytes in UTF-8.
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        const bool upper = byte == 0xC2 && next >= 0x80 && next < 0xA0;
        if (byte >= 0x20 && byte != 0x7f && !upper) {
            result += text[i];
            continue;
        }
        constexpr const char* digits = "0123456789abcdef";
        const unsigned char shown = upper ? next : byte;
        result += std::string("\\x") + digits[shown >> 4] + digits[shown & 0xF];
        i += upper ? 1 : 0;
    }
    return result;
}

void complain(const std::string& program, std::string_view text)
{
    const std::string line = program + ": " + printable(text) + '\n';
    // One write for one line: lines of several threads must not mix.
    std::fputs(line.c_str(), stderr);
}

int terminalWidth(int descriptor)
{
    winsize size = {};
    if (::isatty(descriptor) != 1)
        return 0;
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col
                                                                          : usualWidth;
}

} // namespace CommandLine
