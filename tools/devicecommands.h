// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "commands.h"

#include <vector>

/// What the library knows about the device.
std::vector<ClientCommand> deviceCommands();
