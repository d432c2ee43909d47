// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QList>
#include <QString>

#include <sys/types.h>

/// The processes of this run's session, and what they are told.
namespace Matrix {

QString variable(const char* name);
/// Where the session lies.
QString sessionFolder();

QList<pid_t> daemons();
QList<pid_t> plugins();
QList<pid_t> buses();

/// Ends what was started in the daemon's place.
void endSleepers();

void signalAll(const QList<pid_t>& processes, int signal);
/// And until their parents know, where it is not enough that they have ended.
void waitUntilGone(const QList<pid_t>& processes, bool isEnoughToEnd = true);

/// The daemon keeps a plugin's process for minutes after the last word about its identity, and the
/// bus has room for a few hundred. This ends them.
void endPlugins();
/// Ends the daemon, too, until somebody needs it.
void endDaemon();
/// Not before it has made its databases: one that ends while it does spoils them for good.
void endMadeDaemon();

} // namespace Matrix
