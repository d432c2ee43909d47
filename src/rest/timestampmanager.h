// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDateTime>
#include <QString>

namespace KelRestHandler {

/// The server's clock, kept as an offset to the device's.
///
/// The service refuses requests whose time stamp is too far from its own clock, and handsets' clocks
/// are often wrong, so every reply's "Date:" header corrects the offset. There is one instance in
/// the process, made on first use by the thread of the REST layer and never destroyed.
class TimeStampManager
{
public:
    static TimeStampManager* getTimeStampManager();

    TimeStampManager() = default; ///< for tests; the library uses the one instance

    void setServerTimeDifference(int seconds) { mServerTimeDifference = seconds; }
    int serverTimeDifference() const { return mServerTimeDifference; } ///< server minus device

    /// Server time in whole seconds since 1970-01-01 UTC, never negative.
    qint64 toTime_t() const;

    /// The same in decimal, as `oauth_timestamp` wants it.
    QString timeStamp() const;

    QDateTime currentServerTime() const;

    /// Seconds from `currentServerTime()` to the given time; 0 for an invalid time.
    qint64 secsTo(QDateTime const& time) const;

    /// Moves the offset so that `currentServerTime()` equals the given time. An invalid time changes
    /// nothing. The current offset is part of the comparison, so repeated calls converge.
    void syncToTime(QDateTime const& serverTime);

private:
    qint32 mServerTimeDifference = 0;
};

} // namespace KelRestHandler
