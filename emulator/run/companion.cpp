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
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        problem = "cannot make a pipe to " + name;
        return nullptr;
    }
    companion->mOutput = Descriptor(ends[0]);
    // This side's goes with the block: the pipe has to end with the program.
    const bool started = [&] {
        const Descriptor writing(ends[1]);
        return companion->mProcess->start(fromLocal(program), words, changedEnvironment(changes),
                                          writing.number());
    }();
    const std::string line = started ? companion->firstLine() : std::string();
    if (line == "ready")
        return companion;
    problem = line.empty() ? name + " does not come up" : line;
    return nullptr;
}

/// What it said by the end of its first line, of its output or of its time.
std::string Companion::firstLine() const
{
    std::string line;
    QElapsedTimer timer;
    timer.start();
    while (line.size() < longestLine) {
        const auto left = static_cast<int>(startTimeoutMs - timer.elapsed());
        pollfd readable = {mOutput.number(), POLLIN, 0};
        const int ready = left > 0 ? ::poll(&readable, 1, left) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        char character = 0;
        if (ready <= 0 || ::read(mOutput.number(), &character, 1) != 1 || character == '\n')
            break;
        line += character;
    }
    return line;
}

} // namespace KelEmulator
