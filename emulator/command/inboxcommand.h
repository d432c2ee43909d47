// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

namespace KelEmulator {

/// Prints the inbox of the emulator whose administrative endpoint the environment names; with a
/// name or a recipient, only the messages to it. False, and why in `problem`.
bool printInbox(const std::string& name, std::string& problem);

} // namespace KelEmulator
