// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "clientsettings.h"
#include "tools/commandline/description.h"

/// "kelaccount doctor", on the command line.
CommandLine::Command doctorCommand();

/// Looks at everything that the library needs, prints a line for each finding, and returns the exit
/// status: by the worst of them.
int runDoctor(ClientSettings settings);
