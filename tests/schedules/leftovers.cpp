// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/leftovers.h"

#include "support/literals.h"

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QThread>

#include <dirent.h>
#include <mutex>
#include <unordered_map>

using namespace KelTest;

// What Qt has for debuggers: functions that it calls, by their places in this table.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace Schedules {

namespace {

constexpr int placeOfAdding = 3;
constexpr int placeOfRemoving = 4;
int patienceMs = 20000;

struct Objects
{
    std::mutex mutex;
    std::unordered_map<QObject*, quint64> all; ///< and the how manieth of the process each is
    quint64 made = 0;
};

Objects& objects()
{
    static auto* const known = new Objects; // for objects that end with the process
    return *known;
}

void added(QObject* object)
{
    Objects& known = objects();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.all[object] = ++known.made;
}

void removed(QObject* object)
{
    Objects& known = objects();
    const std::lock_guard<std::mutex> lock(known.mutex);
    known.all.erase(object);
}

int entries(const char* folder)
{
    DIR* const all = ::opendir(folder);
    int count = 0;
    while (all && ::readdir(all))
        ++count;
    if (all)
        ::closedir(all);
    return count;
}

int descriptors()
{
    return entries("/proc/self/fd");
}

int threads()
{
    return entries("/proc/self/task");
}

} // namespace

void watchObjects()
{
    qtHookData[placeOfAdding] = reinterpret_cast<quintptr>(&added);
    qtHookData[placeOfRemoving] = reinterpret_cast<quintptr>(&removed);
}

Leftovers::Leftovers() : mDescriptors(descriptors()), mThreads(threads())
{
    const std::lock_guard<std::mutex> lock(objects().mutex);
    mObjectsBefore = objects().made;
}

QString Leftovers::problem() const
{
    QElapsedTimer since;
    since.start();
    QString now = found();
    for (; !now.isEmpty() && since.elapsed() < patienceMs; now = found())
        QThread::msleep(1);
    return now;
}

void Leftovers::haveLessPatience()
{
    constexpr int little = 1000;
    patienceMs = little;
}

QString Leftovers::found() const
{
    QStringList all;
    if (threads() > mThreads)
        all.append("%1 threads"_s.arg(threads() - mThreads));
    if (descriptors() > mDescriptors)
        all.append("%1 descriptors"_s.arg(descriptors() - mDescriptors));
    QMap<QString, int> classes;
    {
        const std::lock_guard<std::mutex> lock(objects().mutex);
        for (const auto& one : objects().all) {
            if (one.second > mObjectsBefore)
                ++classes[QString::fromLatin1(one.first->metaObject()->className())];
        }
    }
    for (auto it = classes.cbegin(); it != classes.cend(); ++it)
        all.append("%1 %2"_s.arg(it.value()).arg(it.key()));
    return all.isEmpty() ? QString() : "left behind: "_s + all.join(", "_s);
}

} // namespace Schedules
