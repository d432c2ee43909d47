// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/companion.h"

#include "emulator/run/ownfiles.h"
#include "emulator/sandbox/childprocess.h"

#include <QElapsedTimer>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace KelEmulator {

namespace {

constexpr int startTimeoutMs = 10000;
constexpr size_t longestLine = 1000;

QString fromLocal(const std::string& text)
{
    return QString::fromLocal8Bit(text.data(), static_cast<int>(text.size()));
}

QProcessEnvironment changedEnvironment(const std::vector<EnvironmentChange>& changes)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const EnvironmentChange& change : changes) {
        if (change.isSet)
            environment.insert(fromLocal(change.name), fromLocal(change.value));
        else
            environment.remove(fromLocal(change.name));
    }
    return environment;
}

bool makePipe(Descriptor& reading, Descriptor& writing)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return false;
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
    return true;
}

/// What was said there by the end of the first line, of the output or of the time.
std::string firstLine(const Descriptor& output, const QElapsedTimer& sinceStart)
{
    std::string line;
    while (line.size() < longestLine) {
        const auto left = static_cast<int>(startTimeoutMs - sinceStart.elapsed());
        pollfd readable = {output.number(), POLLIN, 0};
        const int ready = left > 0 ? ::poll(&readable, 1, left) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        char character = 0;
        if (ready <= 0 || ::read(output.number(), &character, 1) != 1 || character == '\n')
            break;
        line += character;
    }
    return line;
}

} // namespace

Companion::Companion() : mProcess(std::make_unique<ChildProcess>())
{
}

Companion::~Companion() = default;

std::unique_ptr<Companion> Companion::start(const std::string& name,
                                            const std::vector<std::string>& arguments,
                                            const std::vector<EnvironmentChange>& changes,
                                            std::string& problem)
{
    const std::string program = findProgramBeside(name);
    if (program.empty()) {
        problem = name + " is missing; build or install it with the emulator";
        return nullptr;
    }
    QStringList words;
    for (const std::string& argument : arguments)
        words.append(fromLocal(argument));
    std::unique_ptr<Companion> companion(new Companion);
    Descriptor output;
    Descriptor errors;
    if (!makePipe(companion->mOutput, output) || !makePipe(companion->mErrors, errors)) {
        problem = "cannot make a pipe to " + name;
        return nullptr;
    }
    const bool started = companion->mProcess->start(
        fromLocal(program), words, changedEnvironment(changes), output.number(), errors.number());
    // The pipes have to end with the program.
    output.reset();
    errors.reset();
    QElapsedTimer timer;
    timer.start();
    if (started && firstLine(companion->mOutput, timer) == "ready")
        return companion;
    const std::string line = started ? firstLine(companion->mErrors, timer) : std::string();
    problem = line.empty() ? name + " does not come up" : line;
    return nullptr;
}

} // namespace KelEmulator
