// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/log.h"

#include <unistd.h>

namespace KelEmulator {

void logLine(std::string_view text)
{
    std::string line = "kelaccount-emulator: ";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        line += byte < 0x20 || byte == 0x7f ? '?' : character;
    }
    line += '\n';
    // One write for one line: lines of several threads must not mix.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
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
