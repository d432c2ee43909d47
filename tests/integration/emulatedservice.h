// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/emulatorprocess.h"
#include "support/patience.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTest>

/// The emulator that this program runs in.
namespace KelTest::EmulatedService {

inline AdminReply ask(const char* method, const char* path, const QByteArray& body = {})
{
    return askAdministration(qEnvironmentVariable("KELACCOUNT_EMULATOR_ADMIN"), method,
                             QString::fromLatin1(path), body);
}

/// False in a program that was not started by "kelaccount-emulator run".
inline bool isThere()
{
    return ask("GET", "/health").status == 200;
}

/// One a line.
inline bool orderFaults(const QByteArray& faults)
{
    return ask("POST", "/faults", faults).status == 200;
}

inline QByteArray faultsLeft()
{
    return ask("GET", "/faults").body;
}

/// Waits until Qt's network threads are gone, once no facade is left. Qt waits for their work only;
/// what OpenSSL keeps for each thread goes with its very end, and the leak checker counts that.
inline bool waitForNetworkThreads()
{
    return QTest::qWaitFor(
        [] {
            const QDir tasks(QStringLiteral("/proc/self/task"));
            for (const QString& id : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                QFile name(tasks.filePath(id + QLatin1String("/comm")));
                if (name.open(QIODevice::ReadOnly) && name.readAll().startsWith("QNetwork"))
                    return false;
            }
            return true;
        },
        onABusyMachine);
}

} // namespace KelTest::EmulatedService
