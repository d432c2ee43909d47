// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/timestampmanager.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace KelRestHandler {

namespace {

// Seconds from the device's clock to the server's. A hostile "Date:" header may name any year; the
// difference must not wrap around. Taken directly rather than from the current offset, it is right
// also where currentServerTime() stops at 1970.
qint32 differenceTo(QDateTime const& serverTime)
{
    const qint64 difference = serverTime.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
    return static_cast<qint32>(std::clamp<qint64>(difference, std::numeric_limits<qint32>::min(),
                                                  std::numeric_limits<qint32>::max()));
}

} // namespace

TimeStampManager* TimeStampManager::getTimeStampManager()
{
    thread_local TimeStampManager* instance = nullptr;
    if (!instance) {
        instance = new TimeStampManager;
        // Replies may still be read while static objects are being destroyed, which is when those
        // of the thread are gone: then another one is made, which nobody deletes.
        struct Owner
        {
            ~Owner() { delete std::exchange(instance, nullptr); }
        };
        thread_local const Owner owner;
        static_cast<void>(&owner);
    }
    return instance;
}

TimeStampManager& TimeStampManager::clockOf(QString const& baseAddress)
{
    TimeStampManager& clock = *getTimeStampManager();
    // The same as for the request before, as a rule.
    if (baseAddress != clock.mBaseAddress) {
        clock.mBaseAddress = baseAddress;
        clock.mServerOfBase = serverOf(QUrl(baseAddress));
    }
    if (!clock.mServerOfBase.isEmpty())
        clock.selectServer(clock.mServerOfBase);
    return clock;
}

QString TimeStampManager::serverOf(QUrl const& address)
{
    const QString authority = address.authority(QUrl::FullyEncoded);
    return authority.mid(authority.lastIndexOf(QLatin1Char('@')) + 1);
}

void TimeStampManager::setServerTimeDifference(int seconds)
{
    mDifferences.clear();
    mDifferenceOfOthers = seconds;
}

int TimeStampManager::serverTimeDifference() const
{
    return mDifferences.value(mServer, mDifferenceOfOthers);
}

qint64 TimeStampManager::toTime_t() const
{
    return std::max<qint64>(0, QDateTime::currentSecsSinceEpoch() + serverTimeDifference());
}

QString TimeStampManager::timeStamp() const
{
    return QString::number(toTime_t());
}

QDateTime TimeStampManager::currentServerTime() const
{
    return QDateTime::fromSecsSinceEpoch(toTime_t());
}

qint64 TimeStampManager::secsTo(QDateTime const& time) const
{
    return currentServerTime().secsTo(time);
}

void TimeStampManager::syncToTime(QDateTime const& serverTime)
{
    if (serverTime.isValid())
        setServerTimeDifference(differenceTo(serverTime));
}

void TimeStampManager::syncToTime(QDateTime const& serverTime, QString const& server)
{
    if (serverTime.isValid())
        mDifferences.insert(server, differenceTo(serverTime));
}

} // namespace KelRestHandler
