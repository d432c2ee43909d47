// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace Doctor {

enum class Greeting {
    Answered,
    Unanswered, ///< somebody is there, but does not answer
    NobodyThere,
};

/// Where programs of this session look for its bus; empty when nothing says so.
QString sessionBusAddress();
QString systemBusAddress();

/// Greets the bus at that address on a connection of its own. QDBusConnection's ways to the
/// session's and the system's bus wait without end for one that does not answer.
Greeting greeted(const QString& address, int patienceMs);

} // namespace Doctor
