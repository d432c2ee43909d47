// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/leftovers.h"

#include "support/literals.h"
#include "support/liveobjects.h"
#include "support/processfacts.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QStringList>
#include <QThread>

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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

/// A connection's two ends, or none for what is not of the Internet.
QString endsOf(int descriptor)
{
    QStringList ends;
    for (const auto ask : {&::getsockname, &::getpeername}) {
        sockaddr_in address = {};
        socklen_t size = sizeof(address);
        if (ask(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            address.sin_family == AF_INET)
            ends.append(QString::number(ntohs(address.sin_port)));
    }
    return ends.join(" to "_s);
}

/// What each descriptor is of: a file's name, or a socket's number.
QStringList descriptors()
{
    QStringList all;
    const QDir folder("/proc/self/fd"_s);
    const QStringList names =
        folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& name : names) {
        std::array<char, 256> target = {};
        if (::readlink(QFile::encodeName(folder.filePath(name)).constData(), target.data(),
                       target.size() - 1) > 0)
            all.append("%1 %2 %3"_s.arg(name, QString::fromLocal8Bit(target.data()),
                                        endsOf(name.toInt())));
    }
    return all;
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
    : mObjectsBefore(LiveObjects::made()), mDescriptors(descriptors()), mThreads(threadsOf())
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
    QStringList open = descriptors();
    if (open.size() > mDescriptors.size()) {
        const int count = open.size() - mDescriptors.size();
        for (const QString& one : mDescriptors)
            open.removeOne(one);
        all.append("%1 descriptors, of these (%2)"_s.arg(count).arg(open.join("; "_s)));
    }
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
