// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUrl>

namespace KelRestHandler {

/// The servers' clocks, each kept as an offset to the device's.
///
/// The service refuses requests whose time stamp is too far from its own clock, and handsets'
/// clocks are often wrong, so every reply's "Date:" header corrects the offset of the server that
/// it came from. Each thread has its own instance, so that nothing is locked: what a KelAccounts
/// and a Client of one process know of a clock they have learnt each for themselves.
///
/// What does not name a server reads the chosen server's clock, and sets that of all of them.
/// Whoever signs for a server chooses it first.
class TimeStampManager
{
public:
    static TimeStampManager* getTimeStampManager();

    /// This thread's with the server chosen that the address is of; without a server in it,
    /// whichever was chosen last stays chosen.
    static TimeStampManager& clockOf(QString const& baseAddress);

    TimeStampManager() = default; ///< for tests; the library uses its thread's

    /// Name under which the clock of the server at this address is kept: its host, and the port
    /// when the address has one. Empty for an address without a host.
    static QString serverOf(QUrl const& address);

    /// Chooses the server whose clock is read from now on. One that has told no time yet has the
    /// offset that was set for all, 0 at first.
    void selectServer(QString const& server) { mServer = server; }

    void setServerTimeDifference(int seconds);
    int serverTimeDifference() const; ///< server minus device

    /// Server time in whole seconds since 1970-01-01 UTC, never negative.
    qint64 toTime_t() const;

    /// The same in decimal, as `oauth_timestamp` wants it.
    QString timeStamp() const;

    QDateTime currentServerTime() const;

    /// Seconds from `currentServerTime()` to the given time; 0 for an invalid time.
    qint64 secsTo(QDateTime const& time) const;

    /// Moves the offset so that `currentServerTime()` equals the given time. An invalid time
    /// changes nothing. The current offset is part of the comparison, so repeated calls converge.
    void syncToTime(QDateTime const& serverTime);

    /// The same for one server, which need not be the chosen one; the others' offsets stay.
    void syncToTime(QDateTime const& serverTime, QString const& server);

private:
    QString mServer;
    QString mBaseAddress; ///< that was given last, and its server
    QString mServerOfBase;
    QHash<QString, qint32> mDifferences;
    qint32 mDifferenceOfOthers = 0;
};

} // namespace KelRestHandler
