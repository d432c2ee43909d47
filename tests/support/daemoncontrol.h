// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <sys/types.h>

/// The sign-on daemon of this process's session.
namespace KelTest::DaemonControl {

pid_t processId(); ///< 0 while none runs
/// Kills the daemon and waits, without running the event loop, until the bus knows.
bool kill();
/// Until the connection to the session bus that everybody in this process shares has brought what
/// the bus has said so far, and those who wait for it have heard it.
bool letThisProgramHear();
/// Starts the daemon, if it does not run, and waits until it does and has made its databases. One
/// that is killed while it makes them, which it does once in a device's life, has spoilt them for
/// good: each daemon after it empties the one with the identities as it starts, or cannot remove
/// from the one with the passwords.
bool start();
/// Whether the bus can start the daemon from now on. The session's folder is known to who made it.
void setInstalled(const QString& sessionFolder, bool installed);

} // namespace KelTest::DaemonControl
