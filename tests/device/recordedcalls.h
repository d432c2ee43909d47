// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace KelTest {

/// Takes the place of kill() and waitpid(): what the code under test wants to do is written down,
/// and no process is ever signalled or reaped.
namespace RecordedCalls {

/// Answer of one waitpid(), and the errno that comes with it.
struct Answer
{
    int result;
    int error = 0;
};

/// Forgets what was recorded; waitpid() gives these answers, then -1 with ECHILD.
void start(const QVector<Answer>& answers);

/// "kill 12 9", "waitpid 12 0", in order.
QStringList made();

} // namespace RecordedCalls

} // namespace KelTest
