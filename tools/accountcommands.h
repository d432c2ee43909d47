// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "commands.h"

#include <vector>

/// Signing in, registering, and what a signed-in user does.
std::vector<ClientCommand> accountCommands();
