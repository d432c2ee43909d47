// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagserverending.h"

#include "device/processcalls.h"

#include <cerrno>
#include <csignal>
#include <sys/wait.h>

namespace KelRestHandler {

#ifdef KELACCOUNT_UNCONDITIONAL_TAG_SERVER_KILL

void endTagServer(pid_t started)
{
    processCalls().kill(started, SIGKILL);
    processCalls().waitpid(-1, nullptr, 0);
}

#else

void endTagServer(pid_t started)
{
    if (started <= 0)
        return;
    const ProcessCalls& calls = processCalls();
    // 0: a child of ours that still runs. Otherwise it has just been reaped, or the application did
    // that before us, and its number may belong to somebody else by now.
    if (calls.waitpid(started, nullptr, WNOHANG) != 0)
        return;
    calls.kill(started, SIGKILL);
    while (calls.waitpid(started, nullptr, 0) == -1 && errno == EINTR) {
    }
}

#endif

} // namespace KelRestHandler
