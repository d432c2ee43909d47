// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagserverlaunch.h"

#include "device/interruption.h"
#include "device/tagserveraddress.h"

#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace {

// For the server to listen.
constexpr int startingMs = 500;
constexpr int firstInheritable = STDERR_FILENO + 1;

// Runs in a copy of the application in which only this thread is left, and any lock may be held for
// ever: nothing but async-signal-safe calls from here to the end.
[[noreturn]] void becomeTagServer()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        sigaction(number, &action, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);

    // One call, however many the application has open; the ones it forgot to mark included. Before
    // anything is opened, as it may have used up what it is allowed.
    closefrom(firstInheritable);
    const int null = open("/dev/null", O_RDWR);
    for (int stream = STDIN_FILENO; null != -1 && stream < firstInheritable; ++stream)
        dup2(null, stream);
    if (null >= firstInheritable)
        close(null);

    execl(KelRestHandler::TagServer::path, KelRestHandler::TagServer::argument0,
          static_cast<char*>(nullptr));
    // Without the application's exit handlers.
    _exit(0);
}

} // namespace

int launch_server()
{
    // A handler of the application must not run in the child.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = fork();
    if (child == 0)
        becomeTagServer();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);

    if (child > 0)
        KelRestHandler::Interruption::pause(startingMs);
    return child;
}
