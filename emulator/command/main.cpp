// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/emulator.h"
#include "emulator/command/inboxcommand.h"
#include "emulator/command/options.h"
#include "emulator/common/log.h"
#include "emulator/common/standardstreams.h"

#include <cstdio>
#include <exception>

namespace KelEmulator {

namespace {

constexpr int misuse = 2;

std::string shellQuoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char character : text)
        quoted += character == '\'' ? "'\\''" : std::string(1, character);
    return quoted + '\'';
}

void printEnvironment(const std::vector<EnvironmentChange>& changes)
{
    std::string text;
    for (const EnvironmentChange& change : changes) {
        text += change.isSet ? "export " + change.name + '=' + shellQuoted(change.value)
                             : "unset " + change.name;
        text += '\n';
    }
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

int runOrServe(const Options& options)
{
    const SignalGuard signals;
    std::string problem;
    const std::unique_ptr<Emulator> emulator = Emulator::start(options, problem);
    if (!emulator) {
        logLine(problem);
        return Command::cannotStart;
    }
    if (options.mode == Options::Mode::Serve) {
        printEnvironment(emulator->environment());
        waitForEnd();
        return 0;
    }
    Command command;
    const int failure = command.start(options.command, emulator->environment(), signals, problem);
    if (failure != 0) {
        logLine(problem);
        return failure;
    }
    return command.wait(signals);
}

int run(int count, char** arguments)
{
    Options options;
    std::string problem;
    if (!readOptions(count, arguments, options, problem)) {
        logLine(problem);
        return misuse;
    }
    switch (options.mode) {
    case Options::Mode::Help:
        std::fputs(helpText().c_str(), stdout);
        return 0;
    case Options::Mode::Version:
        std::puts("kelaccount-emulator " KELACCOUNT_VERSION);
        return 0;
    case Options::Mode::Inbox:
        if (!printInbox(options.inboxOf, problem)) {
            logLine(problem);
            return Command::cannotStart;
        }
        return 0;
    case Options::Mode::Run:
    case Options::Mode::Serve:
        break;
    }
    return runOrServe(options);
}

} // namespace

} // namespace KelEmulator

int main(int count, char** arguments)
{
    openMissingStandardStreams();
    try {
        return KelEmulator::run(count, arguments);
    } catch (const std::exception& exception) {
        KelEmulator::logLine(exception.what());
        return KelEmulator::Command::cannotStart;
    }
}
