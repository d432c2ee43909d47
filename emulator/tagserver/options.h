// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

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

extern const char* const usage;

/// Nothing, with the reason on standard error, when the arguments cannot be understood.
std::optional<Options> parseOptions(const std::vector<std::string>& arguments);

/// The words of the environment variable KELACCOUNT_TAG_SERVER_OPTIONS: the only way to tell a
/// server something that is started on demand, without arguments.
std::vector<std::string> environmentArguments();

} // namespace TagServerEmulator
