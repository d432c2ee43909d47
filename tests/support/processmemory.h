// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QList>

#include <sys/types.h>

namespace KelTest {

/// How often each of the texts lies in what a process may read of its own memory. Empty when the
/// memory cannot be read: it has to be a child of this process, or this process root's.
QList<int> countInMemory(pid_t process, const QList<QByteArray>& texts);

} // namespace KelTest
