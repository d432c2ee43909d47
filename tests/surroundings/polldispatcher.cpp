// SPDX-License-Identifier: LGPL-2.1-or-later
#include "surroundings/polldispatcher.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimerEvent>

#include <algorithm>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace KelTest {

PollDispatcher::PollDispatcher(QObject* parent)
    : QAbstractEventDispatcher(parent), mWakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    mClock.start();
}

PollDispatcher::~PollDispatcher()
{
    ::close(mWakeUp);
}

bool PollDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags)
{
    mIsInterrupted = false;
    Q_EMIT awake();
    QCoreApplication::sendPostedEvents();
    if (mIsInterrupted)
        return false;
    // What has been posted meanwhile has made the descriptor readable.
    const bool mayWait = flags.testFlag(QEventLoop::WaitForMoreEvents);
    if (mayWait)
        Q_EMIT aboutToBlock();
    bool sent = waitForSockets(mayWait ? timeToWait() : 0,
                               !flags.testFlag(QEventLoop::ExcludeSocketNotifiers));
    if (mayWait)
        Q_EMIT awake();
    sent |= sendTimers();
    return sent;
}

bool PollDispatcher::hasPendingEvents()
{
    pollfd posted = {mWakeUp, POLLIN, 0};
    return ::poll(&posted, 1, 0) > 0 || timeToWait() == 0;
}

void PollDispatcher::registerSocketNotifier(QSocketNotifier* notifier)
{
    mNotifiers.push_back(notifier);
}

void PollDispatcher::unregisterSocketNotifier(QSocketNotifier* notifier)
{
    mNotifiers.erase(std::remove(mNotifiers.begin(), mNotifiers.end(), notifier), mNotifiers.end());
}

void PollDispatcher::registerTimer(int id, int interval, Qt::TimerType type, QObject* object)
{
    mTimers.push_back({id, interval, type, object, mClock.elapsed() + interval, false});
}

bool PollDispatcher::unregisterTimer(int id)
{
    const auto found = std::find_if(mTimers.begin(), mTimers.end(),
                                    [id](const Timer& one) { return one.id == id; });
    if (found == mTimers.end())
        return false;
    mTimers.erase(found);
    return true;
}

bool PollDispatcher::unregisterTimers(QObject* object)
{
    const auto end = std::remove_if(mTimers.begin(), mTimers.end(),
                                    [object](const Timer& one) { return one.object == object; });
    const bool found = end != mTimers.end();
    mTimers.erase(end, mTimers.end());
    return found;
}

QList<QAbstractEventDispatcher::TimerInfo> PollDispatcher::registeredTimers(QObject* object) const
{
    QList<TimerInfo> infos;
    for (const Timer& one : mTimers) {
        if (one.object == object)
            infos.append(TimerInfo(one.id, one.interval, one.type));
    }
    return infos;
}

int PollDispatcher::remainingTime(int id)
{
    const Timer* const found = timer(id);
    return found ? static_cast<int>(std::max<qint64>(found->due - mClock.elapsed(), 0)) : -1;
}

void PollDispatcher::wakeUp()
{
    const eventfd_t one = 1;
    ::eventfd_write(mWakeUp, one);
}

void PollDispatcher::interrupt()
{
    mIsInterrupted = true;
    wakeUp();
}

PollDispatcher::Timer* PollDispatcher::timer(int id)
{
    const auto found = std::find_if(mTimers.begin(), mTimers.end(),
                                    [id](const Timer& one) { return one.id == id; });
    return found == mTimers.end() ? nullptr : &*found;
}

int PollDispatcher::timeToWait() const
{
    qint64 shortest = -1;
    for (const Timer& one : mTimers) {
        const qint64 left = std::max<qint64>(one.due - mClock.elapsed(), 0);
        if (!one.isBeingSent && (shortest < 0 || left < shortest))
            shortest = left;
    }
    return static_cast<int>(shortest);
}

/// Each that is due, once: who receives one may take any of the others away.
bool PollDispatcher::sendTimers()
{
    std::vector<int> due;
    for (const Timer& one : mTimers) {
        if (!one.isBeingSent && one.due <= mClock.elapsed())
            due.push_back(one.id);
    }
    for (const int id : due) {
        Timer* const found = timer(id);
        if (!found || found->isBeingSent)
            continue;
        found->due = mClock.elapsed() + found->interval;
        found->isBeingSent = true;
        QTimerEvent event(id);
        QCoreApplication::sendEvent(found->object, &event);
        if (Timer* const after = timer(id))
            after->isBeingSent = false;
    }
    return !due.empty();
}

bool PollDispatcher::waitForSockets(int timeoutMs, bool send)
{
    std::vector<pollfd> descriptors = {{mWakeUp, POLLIN, 0}};
    std::vector<QSocketNotifier*> notifiers;
    if (send)
        notifiers = mNotifiers;
    for (const QSocketNotifier* const notifier : notifiers) {
        const short wanted = notifier->type() == QSocketNotifier::Read    ? POLLIN
                             : notifier->type() == QSocketNotifier::Write ? POLLOUT
                                                                          : POLLPRI;
        descriptors.push_back({static_cast<int>(notifier->socket()), wanted, 0});
    }
    if (::poll(descriptors.data(), descriptors.size(), timeoutMs) <= 0)
        return false;
    eventfd_t posts = 0;
    ::eventfd_read(mWakeUp, &posts);
    bool sent = posts > 0;
    for (size_t index = 0; index < notifiers.size(); ++index) {
        QSocketNotifier* const notifier = notifiers[index];
        const bool isThere =
            std::find(mNotifiers.begin(), mNotifiers.end(), notifier) != mNotifiers.end();
        if (descriptors[index + 1].revents == 0 || !isThere)
            continue;
        QEvent event(QEvent::SockAct);
        QCoreApplication::sendEvent(notifier, &event);
        sent = true;
    }
    return sent;
}

} // namespace KelTest
