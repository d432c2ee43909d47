// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

/// Where the library looks for the service: takes the place of its table of servers.
namespace KelTest::ServiceTable {

/// Every server, from now on.
void set(const QString& base);
/// And one of them elsewhere.
void set(int server, const QString& base);
/// No proxy of the environment's stands before them.
void leaveProxies();

} // namespace KelTest::ServiceTable
