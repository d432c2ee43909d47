// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// Checks for the code of a language, such as fi or pt_BR, and of a country, such as FI: what is
/// wrong with a text, and nothing when it is one.
std::string languageProblem(const std::string& text);
std::string countryProblem(const std::string& text);
