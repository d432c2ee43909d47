// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

/// First thing in a program. The number of a standard stream that the program was started without
/// goes to the first file or socket that it opens, and what is meant for the stream goes there.
inline void openMissingStandardStreams()
{
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) == -1 && errno == EBADF)
            ::open("/dev/null", O_RDWR); // NOLINT: inherited, as a standard stream is
    }
}

/// What was written there ends for its reader, and nothing more can be.
inline void leaveStandardOutput()
{
    const int nothing = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nothing >= 0) {
        ::dup2(nothing, STDOUT_FILENO);
        ::close(nothing);
    }
}
