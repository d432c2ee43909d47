// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/peak.h"

#include <QFile>

#include <malloc.h>

namespace Matrix {

namespace {

qint64 lineOfStatus(const char* name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(name))
            return line.mid(line.indexOf(':') + 1).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

} // namespace

qint64 forgetPeak()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
    return lineOfStatus("VmRSS");
}

qint64 peak()
{
    return lineOfStatus("VmHWM");
}

} // namespace Matrix
