// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/accounts.h"

#include <string>

namespace KelEmulator {

/// Why an attribute that a profile has is malformed; empty when none is. Name and password are not
/// looked at.
std::string profileProblem(const Account& account);

} // namespace KelEmulator
