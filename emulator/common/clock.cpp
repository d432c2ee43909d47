// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/clock.h"

#include <cstdio>
#include <ctime>

namespace KelEmulator {

std::int64_t Clock::now() const
{
    return static_cast<std::int64_t>(std::time(nullptr)) + mSkew;
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
    return std::string(text, length > 0 ? static_cast<size_t>(length) : 0);
}

} // namespace KelEmulator
