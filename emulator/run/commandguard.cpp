// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/run/commandguard.h"

#include "emulator/run/command.h"
#include "emulator/sandbox/descriptors.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace KelEmulator {

namespace {

[[noreturn]] void runCommand(const Launch& launch, pid_t guard)
{
    int error = 0;
    // The guard may have ended before it asked for that signal.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != guard)
        ::_exit(Command::cannotStart);
    ::sigaction(SIGPIPE, &launch.signals.pipeActionBefore(), nullptr);
    ::sigprocmask(SIG_SETMASK, &launch.signals.maskBefore(), nullptr);
    ::execve(launch.program, launch.words, launch.environment);
    error = errno;
    [[maybe_unused]] const auto written = ::write(launch.report, &error, sizeof error);
    ::_exit(Command::cannotBeRun);
}

void killChildren()
{
    const int list = ::open("/proc/thread-self/children", O_RDONLY | O_CLOEXEC);
    char bytes[512];
    pid_t child = 0;
    for (ssize_t got = 0; (got = ::read(list, bytes, sizeof bytes)) > 0;) {
        for (ssize_t at = 0; at < got; ++at) {
            if (bytes[at] >= '0' && bytes[at] <= '9') {
                child = child * 10 + (bytes[at] - '0');
            } else {
                if (child > 1)
                    ::kill(child, SIGKILL);
                child = 0;
            }
        }
    }
    ::close(list);
}

/// Each that ends leaves its own children here, until there are none.
[[noreturn]] void endEverybody()
{
    do {
        killChildren();
    } while (::waitpid(-1, nullptr, 0) > 0 || errno == EINTR);
    ::_exit(Command::cannotStart);
}

} // namespace

int shellStatus(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

void guardCommand(const Launch& launch, pid_t emulator)
{
    // The emulator's end wakes the loop below as a child's does.
    if (::prctl(PR_SET_PDEATHSIG, SIGCHLD) != 0 || ::prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        ::_exit(Command::cannotStart);
    const pid_t guard = ::getpid();
    const pid_t command = ::fork();
    if (command == 0)
        runCommand(launch, guard);
    if (command < 0)
        ::_exit(Command::cannotStart);
    // A port or a connection that the emulator closes must not stay open here.
    closeDescriptorsFrom(STDERR_FILENO + 1);
    for (;;) {
        if (::getppid() != emulator)
            endEverybody();
        int status = 0;
        for (pid_t ended = 0; (ended = ::waitpid(-1, &status, WNOHANG)) > 0;) {
            if (ended == command)
                ::_exit(shellStatus(status));
        }
        siginfo_t info{};
        const int number = ::sigwaitinfo(&launch.signals.held(), &info);
        // A key on the terminal sends its signal to the command as well: once is enough.
        if (number > 0 && number != SIGCHLD && info.si_code != SI_KERNEL)
            ::kill(command, number);
    }
}

} // namespace KelEmulator
