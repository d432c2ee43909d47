// SPDX-License-Identifier: LGPL-2.1-or-later
// The functions that answer the service's operations, one source file each.
#pragma once

#include "emulator/operation.h"

namespace KelEmulator {

Reply userNameAvailability(const Call& call);

} // namespace KelEmulator
