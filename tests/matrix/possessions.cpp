// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/possessions.h"

#include "matrix/sessionprocesses.h"
#include "support/literals.h"

#include <QAbstractEventDispatcher>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QThread>

#include <malloc.h>

#include <mutex>
#include <unordered_set>

// Qt's place for tools that look at objects; its header is a private one.
extern Q_CORE_EXPORT quintptr qtHookData[]; // NOLINT(readability-redundant-declaration)

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int addObject = 3;
constexpr int removeObject = 4;

std::mutex& mutex()
{
    static std::mutex one;
    return one;
}

std::unordered_set<QObject*>& allObjects()
{
    static std::unordered_set<QObject*> all;
    return all;
}

void add(QObject* object)
{
    const std::lock_guard<std::mutex> lock(mutex());
    allObjects().insert(object);
}

void remove(QObject* object)
{
    const std::lock_guard<std::mutex> lock(mutex());
    allObjects().erase(object);
}

/// Whoever is deleted meanwhile by another thread waits for the mutex.
int timersOfThisThread()
{
    const std::lock_guard<std::mutex> lock(mutex());
    int count = 0;
    for (QObject* const object : allObjects()) {
        if (object->thread() == QThread::currentThread())
            count += QAbstractEventDispatcher::instance()->registeredTimers(object).size();
    }
    return count;
}

int entries(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

qint64 residentOf(const QString& process)
{
    QFile file("/proc/%1/status"_s.arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    }
    return 0;
}

} // namespace

void countObjects()
{
    mutex();
    allObjects();
    qtHookData[addObject] = reinterpret_cast<quintptr>(&add);
    qtHookData[removeObject] = reinterpret_cast<quintptr>(&remove);
}

Possessions Possessions::now()
{
    Possessions all;
    const struct mallinfo2 memory = ::mallinfo2();
    all.allocatedKiB = static_cast<double>(memory.uordblks + memory.hblkhd) / 1024;
    all.residentKiB = residentOf("self"_s);
    all.descriptors = entries("/proc/self/fd"_s);
    all.threads = entries("/proc/self/task"_s);
    all.busNames =
        QDBusConnection::sessionBus().interface()->registeredServiceNames().value().size();
    all.timers = timersOfThisThread();
    {
        const std::lock_guard<std::mutex> lock(mutex());
        all.objects = static_cast<int>(allObjects().size());
    }
    for (const pid_t plugin : plugins()) {
        all.pluginKiB += residentOf(QString::number(plugin));
        all.pluginDescriptors += entries("/proc/%1/fd"_s.arg(plugin));
    }
    return all;
}

} // namespace Matrix
