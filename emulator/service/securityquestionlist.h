// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KelEmulator {

/// Identifiers and texts of the questions that a user may choose from. `language` is an
/// "Accept-Language" header or a code; Finnish and German are known, everything else is English.
std::vector<std::pair<std::string, std::string>> securityQuestionList(const std::string& language);

/// The text of one question; empty for an identifier that there is not.
std::string securityQuestionText(const std::string& id, const std::string& language);

} // namespace KelEmulator
