// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The thread on which the sign-on library keeps the process's one connection to the daemon.
///
/// The library makes it on the thread that asks for it first, and makes it anew there when the
/// daemon has ended. A client's thread ends with the client, and an application's may stand still
/// while it waits for a call; so when there are clients, the connection gets a thread of its own.
/// With a KelAccounts that was used before, it is on that one's thread and stays there.
namespace KelAccount::SignOnHome {

/// Has the thread started when the library is first used.
void install();

/// Until it is used again.
void end();

} // namespace KelAccount::SignOnHome
