// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/networkconditions.h"

#include <charconv>
#include <string_view>

namespace KelEmulator {

namespace {

constexpr std::int64_t longestDelay = 10000;
// With less than this, a packet would take longer than servers wait for a sign of life.
constexpr std::int64_t leastKilobits = 8;
constexpr std::int64_t mostKilobits = 1000000;
constexpr std::int64_t thousand = 1000;

/// Reads a number with a unit behind it.
bool readWithUnit(const std::string& text, std::string_view unit, std::int64_t smallest,
                  std::int64_t largest, std::int64_t& number)
{
    if (text.size() <= unit.size() ||
        text.compare(text.size() - unit.size(), unit.size(), unit) != 0)
        return false;
    const char* const end = text.data() + text.size() - unit.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && number >= smallest && number <= largest;
}

} // namespace

bool readDelay(const std::string& text, std::optional<NetworkConditions::Milliseconds>& delay)
{
    std::int64_t number = 0;
    if (!readWithUnit(text, "ms", 0, longestDelay, number))
        return false;
    delay = NetworkConditions::Milliseconds(number);
    return true;
}

bool readBandwidth(const std::string& text, std::optional<std::int64_t>& bitsPerSecond)
{
    std::int64_t number = 0;
    if (readWithUnit(text, "kbit", leastKilobits, mostKilobits, number))
        bitsPerSecond = number * thousand;
    else if (readWithUnit(text, "mbit", 1, mostKilobits / thousand, number))
        bitsPerSecond = number * thousand * thousand;
    else
        return false;
    return true;
}

std::string delayProblem(const std::string& text)
{
    std::optional<NetworkConditions::Milliseconds> delay;
    if (readDelay(text, delay))
        return {};
    return "needs whole milliseconds from 0ms to " + std::to_string(longestDelay) +
           "ms, such as 100ms, not '" + text + '\'';
}

std::string bandwidthProblem(const std::string& text)
{
    std::optional<std::int64_t> bitsPerSecond;
    if (readBandwidth(text, bitsPerSecond))
        return {};
    return "needs whole kilobits or megabits a second from " + std::to_string(leastKilobits) +
           "kbit to " + std::to_string(mostKilobits / thousand) +
           "mbit, such as 400kbit or 2mbit, not '" + text + '\'';
}

std::string conditionsProblem(const NetworkConditions& conditions)
{
    if (!conditions.jitter)
        return {};
    if (!conditions.latency)
        return "jitter needs a latency, by which it is longer or shorter";
    return *conditions.jitter > *conditions.latency ? "jitter can be no longer than the latency"
                                                    : "";
}

std::string delayText(NetworkConditions::Milliseconds delay)
{
    return std::to_string(delay.count()) + "ms";
}

std::string bandwidthText(std::int64_t bitsPerSecond)
{
    const std::int64_t kilobits = bitsPerSecond / thousand;
    return kilobits % thousand == 0 ? std::to_string(kilobits / thousand) + "mbit"
                                    : std::to_string(kilobits) + "kbit";
}

} // namespace KelEmulator
