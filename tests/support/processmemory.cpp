// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/processmemory.h"
#include "support/literals.h"

#include <QFile>

#include <algorithm>

namespace KelTest {

namespace {

void count(const QByteArray& memory, const QList<QByteArray>& texts, QList<int>& counts)
{
    for (int i = 0; i < texts.size(); ++i)
        counts[i] += memory.count(texts.at(i));
}

} // namespace

QList<int> countInMemory(pid_t process, const QList<QByteArray>& texts)
{
    QFile maps("/proc/%1/maps"_s.arg(process));
    QFile memory("/proc/%1/mem"_s.arg(process));
    if (!maps.open(QIODevice::ReadOnly) ||
        !memory.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    QList<int> counts;
    for (int i = 0; i < texts.size(); ++i)
        counts.append(0);
    bool isRead = false;
    // "55d0c8a5e000-55d0c8a60000 rw-p 00000000 00:00 0    [heap]"
    const QList<QByteArray> lines = maps.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> range = line.left(line.indexOf(' ')).split('-');
        if (range.size() != 2 || !line.contains(" r") || line.contains("[v"))
            continue;
        const qint64 begin = range.at(0).toLongLong(nullptr, 16);
        const qint64 end = range.at(1).toLongLong(nullptr, 16);
        // What a sanitizer reserves for itself is larger than all that a process of ours can fill.
        constexpr qint64 largest = qint64(1) << 30;
        if (end - begin > largest || !memory.seek(begin))
            continue;
        const QByteArray bytes = memory.read(end - begin);
        isRead = isRead || !bytes.isEmpty();
        count(bytes, texts, counts);
    }
    return isRead ? counts : QList<int>();
}

} // namespace KelTest
