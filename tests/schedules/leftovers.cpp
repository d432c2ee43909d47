// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/leftovers.h"

#include "support/literals.h"
#include "support/liveobjects.h"
#include "support/processfacts.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMap>
#include <QStringList>
#include <QThread>

using namespace KelTest;

namespace Schedules {

namespace {

int patienceMs = 45000;

/// What Qt looks hosts up with, whose threads end half a minute later. And what the sign-on library
/// has below its identities and sessions, which do count: a connection to each daemon that there
/// was, since it has another name for the next, and what waits for the word of a daemon that has
/// ended.
bool isOfOthers(const QObject& object)
{
    const QByteArray name = object.metaObject()->className();
    return name.startsWith("QThreadPool") || name.startsWith("QDBus") ||
           name == "SignOn::PendingCall" || name == "SignOn::SignondAsyncDBusProxy";
}

/// How many objects of each class there are that were made after so many others.
QMap<QString, int> classesSince(quint64 made)
{
    QMap<QString, int> classes;
    LiveObjects::forEach([&](QObject& object, quint64 number) {
        if (number > made && !(QCoreApplication::instance() && isOfOthers(object)))
            ++classes[QString::fromLatin1(object.metaObject()->className())];
    });
    return classes;
}

} // namespace

Leftovers::Leftovers()
    : mObjectsBefore(LiveObjects::made()), mDescriptors(openDescriptors()), mThreads(threadsOf())
{
    if (QCoreApplication::instance())
        mClassesBefore = classesSince(0);
}

QString Leftovers::problem() const
{
    QElapsedTimer since;
    since.start();
    QString now = found();
    for (; !now.isEmpty() && since.elapsed() < patienceMs; now = found()) {
        if (QCoreApplication::instance()) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        QThread::msleep(1);
    }
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
    // In an application that goes on, something may have taken the place of what was there.
    const auto classes = classesSince(mClassesBefore.isEmpty() ? mObjectsBefore : 0);
    for (auto it = classes.cbegin(); it != classes.cend(); ++it) {
        const int more = it.value() - mClassesBefore.value(it.key());
        if (more > 0)
            all.append("%1 %2"_s.arg(more).arg(it.key()));
    }
    return all.isEmpty() ? QString() : "left behind: "_s + all.join(", "_s);
}

} // namespace Schedules
