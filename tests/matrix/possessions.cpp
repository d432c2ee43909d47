// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/possessions.h"

#include "matrix/sessionprocesses.h"
#include "support/liveobjects.h"
#include "support/processfacts.h"

#include <QAbstractEventDispatcher>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QThread>

#include <malloc.h>

using namespace KelTest;

namespace Matrix {

namespace {

int timersOfThisThread()
{
    int count = 0;
    LiveObjects::forEach([&count](QObject& object, quint64 /*number*/) {
        if (object.thread() == QThread::currentThread())
            count += QAbstractEventDispatcher::instance()->registeredTimers(&object).size();
    });
    return count;
}

int allObjects()
{
    int count = 0;
    LiveObjects::forEach([&count](QObject& /*object*/, quint64 /*number*/) { ++count; });
    return count;
}

} // namespace

Possessions Possessions::now()
{
    Possessions all;
    const struct mallinfo2 memory = ::mallinfo2();
    all.allocatedKiB = static_cast<double>(memory.uordblks + memory.hblkhd) / 1024;
    all.residentKiB = memoryOfStatus("VmRSS");
    all.descriptors = openDescriptors();
    all.threads = threadsOf();
    all.busNames =
        QDBusConnection::sessionBus().interface()->registeredServiceNames().value().size();
    all.timers = timersOfThisThread();
    all.objects = allObjects();
    for (const pid_t plugin : plugins()) {
        all.pluginKiB += memoryOfStatus("VmRSS", QString::number(plugin));
        all.pluginDescriptors += openDescriptors(QString::number(plugin));
    }
    return all;
}

} // namespace Matrix
