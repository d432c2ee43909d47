// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/timestampmanager.h"

#include <algorithm>
#include <limits>

namespace KelRestHandler {

TimeStampManager* TimeStampManager::getTimeStampManager()
{
    // Leaked on purpose: replies may still be read while static objects are being destroyed.
    static auto* const instance = new TimeStampManager;
    return instance;
}

qint64 TimeStampManager::toTime_t() const
{
    return std::max<qint64>(0, QDateTime::currentSecsSinceEpoch() + mServerTimeDifference);
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
    if (!serverTime.isValid())
        return;
    // The offset plus what is left to the server's time is the distance from the device's clock;
    // taken directly, it is right also where currentServerTime() stops at 1970. A hostile "Date:"
    // header may name any year; the difference must not wrap around.
    const qint64 difference =
        serverTime.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
    mServerTimeDifference =
        static_cast<qint32>(qBound<qint64>(std::numeric_limits<qint32>::min(), difference,
                                           std::numeric_limits<qint32>::max()));
}

} // namespace KelRestHandler
