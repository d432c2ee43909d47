// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <sys/types.h>

namespace KelEmulator {

/// A child of this process: a session's message bus, or what else stands in for a device's service.
///
/// It ends with this object, and with the thread that started it: it must not outlive a program
/// that crashed or was killed. QProcess would need its signal handler for ended children, which a
/// program that waits for signals itself holds back.
class ChildProcess
{
public:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess(); ///< stop()

    /// Starts the program; what it says goes to the descriptor `output`, its errors to `errors` or
    /// to the same. False when no process can be made; a program that cannot be run ends at once.
    bool start(const QString& program, const QStringList& arguments,
               const QProcessEnvironment& environment, int output, int errors = -1);

    /// False once it has ended.
    bool isRunning();
    /// Asks it to end, and makes it after a while.
    void stop();
    pid_t id() const { return mId; }

private:
    bool waitForEnd();

    pid_t mId = 0; // 0 when none runs
};

} // namespace KelEmulator
