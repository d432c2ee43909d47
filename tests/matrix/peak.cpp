// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/peak.h"

#include "support/processfacts.h"

#include <QFile>

#include <malloc.h>

namespace Matrix {

qint64 forgetPeak()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
    return KelTest::memoryOfStatus("VmRSS");
}

qint64 peak()
{
    return KelTest::memoryOfStatus("VmHWM");
}

} // namespace Matrix
