// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/command.h"

#include "emulator/common/descriptor.h"
#include "emulator/run/commandguard.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace KelEmulator {

namespace {

constexpr int forwardedSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2};

bool isFile(const std::string& path)
{
    struct stat status
    {
    };
    return ::stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
}

/// The file that a command's name stands for, found before the fork: what runs between fork and
/// exec must not allocate. Empty when there is none.
std::string findProgram(const std::string& name)
{
    if (name.find('/') != std::string::npos)
        return isFile(name) ? name : std::string();
    const char* const variable = std::getenv("PATH");
    std::string rest = variable ? variable : "/usr/local/bin:/usr/bin:/bin";
    rest += ':';
    std::string unusable;
    for (size_t end = rest.find(':'); end != std::string::npos; end = rest.find(':')) {
        const std::string folder = end == 0 ? "." : rest.substr(0, end);
        rest.erase(0, end + 1);
        const std::string file = folder + '/' + name;
        if (!isFile(file))
            continue;
        if (::access(file.c_str(), X_OK) == 0)
            return file;
        unusable = file;
    }
    return unusable;
}

std::vector<std::string> changedEnvironment(const std::vector<EnvironmentChange>& changes)
{
    std::vector<std::string> entries;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('='));
        const bool changed = std::any_of(changes.begin(), changes.end(),
                                         [&](const auto& change) { return change.name == name; });
        if (!changed)
            entries.push_back(text);
    }
    for (const EnvironmentChange& change : changes) {
        if (change.isSet)
            entries.push_back(change.name + '=' + change.value);
    }
    return entries;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> list;
    for (std::string& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

} // namespace

SignalGuard::SignalGuard()
{
    sigemptyset(&mHeld);
    for (const int number : forwardedSignals)
        sigaddset(&mHeld, number);
    sigaddset(&mHeld, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &mHeld, &mMaskBefore);
    // Whoever writes to a client that has gone wants an error, not the end.
    struct sigaction ignore
    {
    };
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &mPipeActionBefore);
}

int Command::start(const std::vector<std::string>& words,
                   const std::vector<EnvironmentChange>& changes, const SignalGuard& signals,
                   std::string& problem)
{
    const std::string program = findProgram(words.front());
    if (program.empty()) {
        problem = "there is no command '" + words.front() + '\'';
        return notFound;
    }
    std::vector<std::string> arguments = words;
    std::vector<std::string> entries = changedEnvironment(changes);
    const std::vector<char*> argumentList = pointers(arguments);
    const std::vector<char*> environmentList = pointers(entries);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        problem = std::string("cannot make a pipe: ") + std::strerror(errno);
        return cannotStart;
    }
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t parent = ::getpid();
    mChild = ::fork();
    if (mChild == 0) {
        guardCommand({program.c_str(), argumentList.data(), environmentList.data(), signals,
                      writing.number()},
                     parent);
    }
    if (mChild < 0) {
        problem = std::string("cannot start a process: ") + std::strerror(errno);
        return cannotStart;
    }
    // The pipe ends unread when the command runs, and brings the error when it does not.
    writing.reset();
    int error = 0;
    ssize_t got = 0;
    while ((got = ::read(reading.number(), &error, sizeof error)) < 0 && errno == EINTR) {
    }
    if (got != sizeof error)
        return 0;
    ::waitpid(mChild, nullptr, 0);
    mChild = -1;
    problem = "cannot run '" + words.front() + "': " + std::strerror(error);
    return error == ENOENT ? notFound : cannotBeRun;
}

int Command::wait(const SignalGuard& signals) const
{
    if (mChild <= 0)
        return cannotStart;
    for (;;) {
        int status = 0;
        const pid_t ended = ::waitpid(mChild, &status, WNOHANG);
        if (ended == mChild)
            return shellStatus(status);
        if (ended < 0 && errno != EINTR)
            return cannotStart;

        siginfo_t info{};
        const int number = ::sigwaitinfo(&signals.held(), &info);
        // A key on the terminal sends its signal to the command as well: once is enough.
        if (number > 0 && number != SIGCHLD && info.si_code != SI_KERNEL)
            ::kill(mChild, number);
    }
}

void waitForEnd()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaddset(&ending, number);
    int number = 0;
    while (::sigwait(&ending, &number) != 0) {
    }
}

} // namespace KelEmulator
