// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <sys/types.h>

namespace KelEmulator {

class SignalGuard;

/// What a command is started with. All of it is made ahead of the fork, after which nothing may be
/// allocated.
struct Launch
{
    const char* program;
    char* const* words;
    char* const* environment;
    const SignalGuard& signals;
    int report; ///< where an error number is written when the command cannot be run
};

/// The life of the process between the emulator and a command: starts the command, hands signals on
/// to it, and ends with its exit status.
///
/// When the emulator is gone before that, the command is ended and whatever it has left behind,
/// programs that made a session of their own included: they are handed to this process when their
/// parents end. Only calls that are safe after a fork of a process with threads.
[[noreturn]] void guardCommand(const Launch& launch, pid_t emulator);

/// A status of waitpid's as a shell has it.
int shellStatus(int status);

} // namespace KelEmulator
