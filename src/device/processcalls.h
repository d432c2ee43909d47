// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <sys/types.h>

namespace KelRestHandler {

/// The two calls that can harm processes which are not ours. Named here, and defined in a file of
/// their own, so that a test records them instead of letting them happen.
struct ProcessCalls
{
    int (*kill)(pid_t process, int signal);
    pid_t (*waitpid)(pid_t process, int* status, int options);
};

const ProcessCalls& processCalls();

} // namespace KelRestHandler
