// SPDX-License-Identifier: LGPL-2.1-or-later
#include "server.h"

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    const pid_t parent = getppid();
    std::vector<std::string> words = TagServerEmulator::environmentArguments();
    words.insert(words.begin(), argv, argv + (argc > 0 ? 1 : 0));
    words.insert(words.end(), argv + (argc > 0 ? 1 : 0), argv + argc);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    CommandLine::Line line;
    if (const auto status =
            CommandLine::answer(TagServerEmulator::tagServerProgram(),
                                static_cast<int>(arguments.size()), arguments.data(), line))
        return *status;
    const TagServerEmulator::Options options = TagServerEmulator::optionsFrom(line);
    if (options.dieWithParent) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // It may have ended before the request was made.
        if (getppid() != parent)
            return 0;
    }
    return TagServerEmulator::serve(options);
}
