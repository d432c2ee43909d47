// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <sys/types.h>

namespace KelRestHandler {

/// Ends and reaps the tag server that this process started as `started`. For -1, when none was
/// started, and for a process that is no child of ours any more, it does nothing; no other process
/// is signalled or reaped.
///
/// Built with KELACCOUNT_UNCONDITIONAL_TAG_SERVER_KILL it signals without looking, -1 included,
/// which ends every process that the caller may signal, and then waits for any child.
void endTagServer(pid_t started);

} // namespace KelRestHandler
