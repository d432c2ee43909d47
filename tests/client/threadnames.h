// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

namespace KelTest {

/// Whether this process has a thread of that name.
inline bool runsThread(const QByteArray& name)
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& id : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(id + QLatin1String("/comm")));
        if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name)
            return true;
    }
    return false;
}

} // namespace KelTest
