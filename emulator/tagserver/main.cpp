// SPDX-License-Identifier: LGPL-2.1-or-later
#include "server.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <sys/prctl.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    const pid_t parent = getppid();
    std::vector<std::string> arguments = TagServerEmulator::environmentArguments();
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    if (std::find(arguments.begin(), arguments.end(), "--help") != arguments.end()) {
        std::cout << TagServerEmulator::usage;
        return 0;
    }
    const auto options = TagServerEmulator::parseOptions(arguments);
    if (!options)
        return 2;
    if (options->dieWithParent) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        // It may have ended before the request was made.
        if (getppid() != parent)
            return 0;
    }
    return TagServerEmulator::serve(*options);
}
