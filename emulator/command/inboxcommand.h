// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

namespace KelEmulator {

/// Reads the inbox of the emulator whose administrative endpoint the environment names; with a
/// name or a recipient, only the messages to it. False, and why in `problem`.
bool readInbox(const std::string& name, std::string& messages, std::string& problem);

} // namespace KelEmulator
