// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

/// What the kernel tells of a process: a number, or "self".
namespace KelTest {

inline int entriesOfProcess(const char* folder, const QString& process)
{
    return QDir(QStringLiteral("/proc/%1/%2").arg(process, QLatin1String(folder)))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
        .size();
}

inline int openDescriptors(const QString& process = QStringLiteral("self"))
{
    return entriesOfProcess("fd", process);
}

inline int threadsOf(const QString& process = QStringLiteral("self"))
{
    return entriesOfProcess("task", process);
}

/// A line of its status, in KiB: "VmRSS", resident memory, or "VmHWM", its peak. -1 when it cannot
/// be read.
inline qint64 memoryOfStatus(const char* name, const QString& process = QStringLiteral("self"))
{
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray beginning = QByteArray(name) + ':';
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(beginning))
            return line.mid(beginning.size()).simplified().split(' ').value(0).toLongLong();
    }
    return -1;
}

} // namespace KelTest
