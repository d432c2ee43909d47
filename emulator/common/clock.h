// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <string>

namespace KelEmulator {

/// The service's clock: this machine's, moved by a fixed number of seconds.
class Clock
{
public:
    explicit Clock(std::int64_t skewSeconds) : mSkew(skewSeconds) {}

    /// Seconds since 1970-01-01 UTC.
    std::int64_t now() const;

    /// Now, as a "Date:" header has it: "Tue, 15 Nov 1994 08:12:31 GMT".
    std::string httpDate() const { return httpDate(now()); }
    static std::string httpDate(std::int64_t secondsSinceEpoch);

private:
    std::int64_t mSkew;
};

} // namespace KelEmulator
