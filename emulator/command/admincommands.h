// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "tools/commandline/reader.h"

namespace KelEmulator {

/// Does what a command line asks of the emulator that the environment names: every command but
/// "run" and "serve". The exit status.
int askEmulator(const CommandLine::Line& line);

} // namespace KelEmulator
