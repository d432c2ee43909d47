// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>

namespace KelEmulator {

/// One line on standard error, with the program's name in front. Control characters are shown as
/// \xNN, so that nothing a client sends can forge a line.
void logLine(std::string_view text);

/// A request target as it may be logged: an access token in the path is left out.
std::string printableTarget(std::string_view target);

} // namespace KelEmulator
