// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/clock.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace KelEmulator {

namespace {

std::int64_t machineMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

Clock::Clock(std::int64_t skewSeconds, double speed)
    : mSince(machineMilliseconds()), mAhead(static_cast<double>(skewSeconds)), mSpeed(speed)
{
}

double Clock::aheadNow() const
{
    constexpr double milli = 1000;
    return mAhead + static_cast<double>(machineMilliseconds() - mSince) * (mSpeed - 1) / milli;
}

std::int64_t Clock::now() const
{
    constexpr double milli = 1000;
    const std::lock_guard<std::mutex> lock(mMutex);
    // Whole seconds as time() has them when only a skew is set.
    return static_cast<std::int64_t>(
        std::floor(static_cast<double>(machineMilliseconds()) / milli + aheadNow()));
}

void Clock::setSkew(std::int64_t seconds)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mSince = machineMilliseconds();
    mAhead = static_cast<double>(seconds);
}

std::int64_t Clock::skew() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return std::llround(aheadNow());
}

void Clock::setSpeed(double speed)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mAhead = aheadNow();
    mSince = machineMilliseconds();
    mSpeed = speed;
}

double Clock::speed() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mSpeed;
}

std::string Clock::httpDate(std::int64_t secondsSinceEpoch)
{
    // Written out by hand: strftime would follow the locale.
    static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto seconds = static_cast<std::time_t>(secondsSinceEpoch);
    std::tm time{};
    if (!gmtime_r(&seconds, &time))
        return "Thu, 01 Jan 1970 00:00:00 GMT";
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT",
                                     days[time.tm_wday], time.tm_mday, months[time.tm_mon],
                                     time.tm_year + 1900, time.tm_hour, time.tm_min, time.tm_sec);
    return {text, length > 0 ? static_cast<size_t>(length) : 0};
}

} // namespace KelEmulator
