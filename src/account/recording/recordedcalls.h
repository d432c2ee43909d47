// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/flightrecord.h"

#include <QString>

#include <optional>
#include <vector>

namespace KelAccount {

/// A request to the service, as far as its moments are kept.
struct RecordedRequest
{
    int id = -1;
    int type = 0; ///< its operation's number
    std::optional<qint64> posted;
    std::optional<qint64> connected; ///< not when a connection stood already
    std::optional<qint64> sent;
    std::optional<qint64> firstByte;
    std::optional<qint64> ended;
    int error = 0; ///< the network library's
    int httpStatus = 0;
};

/// A call whose beginning is kept. Times are of std::chrono::steady_clock, in nanoseconds.
struct RecordedCall
{
    quint64 number = 0;
    const char* operation = nullptr;
    qint64 made = 0;
    std::optional<qint64> answered;
    int status = 0;
    bool isAbandoned = false;
    std::vector<FlightRecord::Recorded> moments; ///< its requests' as well, after the first
    std::vector<RecordedRequest> requests;

    /// When it was over; what is under way is not over `now`.
    qint64 end(qint64 now) const;
};

/// In the order in which they were made.
std::vector<RecordedCall> recordedCalls(const std::vector<FlightRecord::Recorded>& kept);

/// How a recording writes the number of a call; an empty text for 0.
QString recordedNumber(quint64 call);

/// Of an error of the network library, its name; of none, an empty text.
QString networkErrorName(int error);

/// Milliseconds, as the formats want them.
double milliseconds(qint64 nanoseconds);

/// In milliseconds since 1970, by the clock of the system as it goes now.
qint64 wallClock(qint64 nanoseconds);

} // namespace KelAccount
