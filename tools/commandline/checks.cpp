// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/checks.h"

#include <charconv>

namespace CommandLine {

bool readNumber(const std::string& text, std::int64_t smallest, std::int64_t largest,
                std::int64_t& number)
{
    std::int64_t result = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, result);
    if (read.ec != std::errc() || read.ptr != end || result < smallest || result > largest)
        return false;
    number = result;
    return true;
}

std::string numberProblem(const std::string& text, std::int64_t smallest, std::int64_t largest)
{
    std::int64_t number = 0;
    if (readNumber(text, smallest, largest, number))
        return {};
    return "needs a number from " + std::to_string(smallest) + " to " + std::to_string(largest) +
           ", not '" + text + '\'';
}

std::string date(const std::string& text)
{
    const std::string problem = "needs a date like 1990-02-28, not '" + text + '\'';
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return problem;
    std::int64_t year = 0;
    std::int64_t month = 0;
    std::int64_t day = 0;
    if (!readNumber(text.substr(0, 4), 1, 9999, year) ||
        !readNumber(text.substr(5, 2), 1, 12, month) || !readNumber(text.substr(8), 1, 31, day))
        return problem;
    constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leapYear = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const int length = month == 2 && leapYear ? 29 : lengths[month - 1];
    return day <= length ? std::string() : problem;
}

} // namespace CommandLine
