// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/command/admincommands.h"
#include "emulator/command/emulator.h"
#include "emulator/command/options.h"
#include "emulator/common/log.h"
#include "emulator/common/standardstreams.h"

#include <exception>

namespace KelEmulator {

namespace {

std::string shellQuoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char character : text)
        quoted += character == '\'' ? "'\\''" : std::string(1, character);
    return quoted + '\'';
}

std::string environmentText(const std::vector<EnvironmentChange>& changes)
{
    std::string text;
    for (const EnvironmentChange& change : changes) {
        text += change.isSet ? "export " + change.name + '=' + shellQuoted(change.value)
                             : "unset " + change.name;
        text += '\n';
    }
    return text;
}

/// The last lines of "serve": by then everything is there.
std::string readyText()
{
    return "export KELACCOUNT_EMULATOR_PID='" + std::to_string(::getpid()) +
           "'\n# kelaccount-emulator is ready\n";
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
        const int status = CommandLine::printed(
            emulatorProgram(), environmentText(emulator->environment()) + readyText());
        if (status == 0) {
            // Whoever reads until the end has read it all: eval "$(kelaccount-emulator serve &)".
            leaveStandardOutput();
            waitForEnd();
        }
        return status;
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
    CommandLine::Line line;
    if (const auto status = CommandLine::answer(emulatorProgram(), count, arguments, line))
        return *status;
    if (line.command != "run" && line.command != "serve")
        return askEmulator(line);
    Options options;
    std::string problem;
    if (!readOptions(line, options, problem)) {
        logLine(problem);
        return CommandLine::exitMisuse;
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
