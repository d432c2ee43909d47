// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/log.h"

#include "tools/commandline/reader.h"

namespace KelEmulator {

void logLine(std::string_view text)
{
    CommandLine::complain("kelaccount-emulator", text);
}

std::string printableTarget(std::string_view target)
{
    constexpr std::string_view tokens = "/tokens/";
    constexpr size_t longest = 256;
    std::string text(target.substr(0, longest));
    if (target.size() > longest)
        text += "...";
    const size_t at = text.find(tokens);
    if (at != std::string::npos && at + tokens.size() < text.size())
        text = text.substr(0, at + tokens.size()) + "<token>";
    return text;
}

} // namespace KelEmulator
