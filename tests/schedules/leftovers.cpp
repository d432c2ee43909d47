// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/leftovers.h"

#include "support/literals.h"
#include "support/liveobjects.h"
#include "support/processfacts.h"

#include <QElapsedTimer>
#include <QMap>
#include <QStringList>
#include <QThread>

using namespace KelTest;

namespace Schedules {

namespace {

int patienceMs = 20000;

} // namespace

Leftovers::Leftovers()
    : mObjectsBefore(LiveObjects::made()), mDescriptors(openDescriptors()), mThreads(threadsOf())
{
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
    if (threadsOf() > mThreads)
        all.append("%1 threads"_s.arg(threadsOf() - mThreads));
    if (openDescriptors() > mDescriptors)
        all.append("%1 descriptors"_s.arg(openDescriptors() - mDescriptors));
    QMap<QString, int> classes;
    LiveObjects::forEach([&](QObject& object, quint64 number) {
        if (number > mObjectsBefore)
            ++classes[QString::fromLatin1(object.metaObject()->className())];
    });
    for (auto it = classes.cbegin(); it != classes.cend(); ++it)
        all.append("%1 %2"_s.arg(it.value()).arg(it.key()));
    return all.isEmpty() ? QString() : "left behind: "_s + all.join(", "_s);
}

} // namespace Schedules
