// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLatin1String>
#include <QObject>

#include <functional>

namespace KelAccount {

const QLatin1String signOnDaemonName("com.google.code.AccountsSSO.SingleSignOn");

/// Whether there is a session bus to reach the daemon through; logs when there is none.
bool reachesSessionBus();

/// Has the bus start the sign-on daemon, unless it runs, and then calls `next`: with true when it
/// runs. Never before this has returned, and not at all once `context` is gone.
///
/// To be asked before the sign-on library is: that waits for ever when the daemon cannot be
/// started, or when it ended and the library has not heard of it yet. The bus answers after all
/// that it had to tell before, so when `next` runs, the news of an earlier end has arrived.
void ensureSignOnDaemon(QObject* context, int timeoutMs, const std::function<void(bool)>& next);

/// Has a function called on the asking thread whenever the daemon was found running, before the
/// sign-on library is used there. For the whole process; there is none at first.
void setSignOnDaemonFound(void (*found)());

/// Calls `lost` from the event loop whenever the sign-on daemon has ended; not once `context` is
/// gone. What was asked of it then may never be answered.
void whenSignOnDaemonIsLost(QObject* context, const std::function<void()>& lost);

} // namespace KelAccount
