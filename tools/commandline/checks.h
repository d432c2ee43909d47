// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <string>

namespace CommandLine {

/// Reads a decimal number within bounds; false, and `number` untouched, when the text is none.
bool readNumber(const std::string& text, std::int64_t smallest, std::int64_t largest,
                std::int64_t& number);

/// What a Check says of a text that is no such number.
std::string numberProblem(const std::string& text, std::int64_t smallest, std::int64_t largest);

/// A Check for numbers from `smallest` to `largest`.
template <std::int64_t smallest, std::int64_t largest>
std::string number(const std::string& text)
{
    return numberProblem(text, smallest, largest);
}

/// A Check for days of the calendar, "1990-02-28".
std::string date(const std::string& text);

} // namespace CommandLine
