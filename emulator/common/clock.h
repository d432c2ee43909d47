// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace KelEmulator {

/// The service's clock: this machine's, moved and made to go faster or slower. May be used by many
/// threads at once.
class Clock
{
public:
    explicit Clock(std::int64_t skewSeconds, double speed = 1);

    static constexpr double slowest = 0.01;
    static constexpr double fastest = 10000;
    static constexpr std::int64_t largestSkew = 315360000; ///< ten years

    /// Seconds since 1970-01-01 UTC.
    std::int64_t now() const;

    /// From now on so many seconds ahead of this machine's clock.
    void setSkew(std::int64_t seconds);
    std::int64_t skew() const;
    /// So many seconds of it pass in one of this machine's, from the time that it shows now.
    void setSpeed(double speed);
    double speed() const;

    /// Now, as a "Date:" header has it: "Tue, 15 Nov 1994 08:12:31 GMT".
    std::string httpDate() const { return httpDate(now()); }
    static std::string httpDate(std::int64_t secondsSinceEpoch);

private:
    double aheadNow() const;

    mutable std::mutex mMutex;
    std::int64_t mSince; ///< by this machine's clock, in milliseconds
    double mAhead;       ///< then, in seconds
    double mSpeed;
};

} // namespace KelEmulator
