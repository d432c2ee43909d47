// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/processcalls.h"

#include <csignal>
#include <sys/wait.h>

namespace KelRestHandler {

const ProcessCalls& processCalls()
{
    static const ProcessCalls system = {::kill, ::waitpid};
    return system;
}

} // namespace KelRestHandler
