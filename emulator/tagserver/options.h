// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "tools/commandline/reader.h"

#include <optional>
#include <string>
#include <vector>

namespace TagServerEmulator {

struct Options
{
    std::string name = "obc"; ///< of the abstract socket
    std::string tag = "emulated service tag";
    std::optional<unsigned> refusal; ///< error code
    std::optional<int> replyBytes;   ///< size of the whole reply, its status included
    int slowMs = 0;
    bool hang = false;
    bool dieAfterAccept = false;
    bool dieWithParent = false;
};

/// What the program's help, manual page and completions say.
const CommandLine::Program& tagServerProgram();

/// The options that a command line of the program says.
Options optionsFrom(const CommandLine::Line& line);

/// The words of the environment variable KELACCOUNT_TAG_SERVER_OPTIONS: the only way to tell a
/// server something that is started on demand, without arguments.
std::vector<std::string> environmentArguments();

} // namespace TagServerEmulator
