// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

namespace KelEmulator {

// What belongs to this program, beside it in a build tree or installed. Empty when it is missing.

/// A program.
std::string findProgramBeside(const std::string& name);
/// A module to be loaded.
std::string findModule(const std::string& name);
/// A plugin of the sign-on daemon.
std::string findSignonPlugin(const std::string& name);
/// A file that does not depend on the machine, by its path below the data folder.
std::string findSharedFile(const std::string& path);

} // namespace KelEmulator
