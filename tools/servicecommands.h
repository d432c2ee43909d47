// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "commands.h"

#include <vector>

/// What needs no signed-in user.
std::vector<ClientCommand> serviceCommands();
