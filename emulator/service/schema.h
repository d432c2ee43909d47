// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/database.h"

#include <string>

namespace KelEmulator {

/// Brings a new or older file to the tables of today. False, and why in `problem`, when it cannot.
bool bringUpToDate(Database& database, std::string& problem);

} // namespace KelEmulator
