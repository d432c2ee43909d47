// SPDX-License-Identifier: LGPL-2.1-or-later
#include "watchdog.h"

#include "commands.h"

#include <array>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace {

// A signal's handler may allocate nothing.
std::array<char, 256> line = {};
volatile std::sig_atomic_t length = 0;
volatile std::sig_atomic_t status = 0;

void end(int)
{
    // Nothing is left to do when that fails.
    [[maybe_unused]] const auto written =
        ::write(STDERR_FILENO, line.data(), static_cast<size_t>(length));
    ::_exit(status);
}

void prepare(int exitStatus)
{
    status = exitStatus;
    struct sigaction action = {};
    action.sa_handler = end;
    ::sigaction(SIGALRM, &action, nullptr);
}

} // namespace

Watchdog::Watchdog(int seconds, const QByteArray& text, int exitStatus)
{
    prepare(exitStatus);
    restart(seconds, text);
}

Watchdog::~Watchdog()
{
    ::alarm(0);
}

void Watchdog::restart(int seconds, const QByteArray& text)
{
    ::alarm(0);
    const QByteArray whole =
        (QByteArray::fromStdString(clientProgram().name) + ": " + text).left(int(line.size()) - 1) +
        '\n';
    std::memcpy(line.data(), whole.constData(), static_cast<size_t>(whole.size()));
    length = whole.size();
    ::alarm(static_cast<unsigned>(seconds));
}

int endingSoon(int exitStatus)
{
    constexpr unsigned patienceSeconds = 2;
    length = 0;
    prepare(exitStatus);
    ::alarm(patienceSeconds);
    return exitStatus;
}
