// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

namespace KelEmulator {

/// Every byte but ASCII letters, digits, "-", ".", "_" and "~" as "%" and two upper-case digits.
std::string percentEncode(std::string_view text);

/// "%XX" as its byte; a "%" that no two hexadecimal digits follow stays as it is. "+" stays "+".
std::string percentDecode(std::string_view text);

} // namespace KelEmulator
