// SPDX-License-Identifier: LGPL-2.1-or-later
// How values are written in documents, and what they may be.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KelEmulator {

/// Padded base64 of the standard alphabet; the empty text too.
bool isBase64(std::string_view text);
std::string base64Encoded(std::string_view bytes);
/// Nothing for text that is not padded base64.
std::optional<std::string> base64Decoded(std::string_view text);

/// SHA-1 of the bytes: 20 bytes.
std::string sha1(std::string_view bytes);

/// So many random bytes as lower-case hexadecimal digits.
std::string randomHex(size_t bytes);
/// A random number below `limit`, which is at least 1.
std::uint32_t randomBelow(std::uint32_t limit);

/// "yyyy-MM-dd", an existing day.
bool isDate(const std::string& text);
/// Whole years from a birthday (`isDate`) to the day of a time; negative when it lies ahead.
int yearsBetween(const std::string& birthday, std::int64_t secondsSinceEpoch);
/// "2012-03-04T05:06:07.000Z"
std::string timeText(std::int64_t secondsSinceEpoch);

/// The domain in its ASCII form; unchanged when it has none or is no domain.
std::string withAsciiDomain(const std::string& address);
bool isEmailAddress(const std::string& text); ///< with its domain in ASCII
bool isMobileNumber(const std::string& text); ///< "+" and 6 to 15 digits
bool isPassword(const std::string& text); ///< 4 to 128 bytes of UTF-8 without control characters
bool isCountry(const std::string& text);  ///< two upper-case letters
bool isLanguage(const std::string& text); ///< "fi", "fi_FI", "fi-FI"

} // namespace KelEmulator
