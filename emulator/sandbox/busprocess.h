// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QProcessEnvironment>
#include <QString>

#include <sys/types.h>

namespace KelEmulator {

/// The message bus of a session, as a child of this process.
///
/// It ends with this object, and with the thread that started it: it must not outlive a program
/// that crashed or was killed. QProcess would need its signal handler for ended children, which a
/// program that waits for signals itself holds back.
class BusProcess
{
public:
    BusProcess() = default;
    BusProcess(const BusProcess&) = delete;
    BusProcess& operator=(const BusProcess&) = delete;
    ~BusProcess(); ///< stop()

    /// Starts dbus-daemon; what it says goes to the end of `logFile`. False when there is no such
    /// program or no process can be made.
    bool start(const QString& configurationFile, const QProcessEnvironment& environment,
               const QString& logFile);

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
