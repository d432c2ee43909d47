// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/fault.h"

#include <cstdint>

namespace KelEmulator {

/// What goes over the wire of a reply whose headers and body have so many bytes.
struct ReplyShape
{
    std::uint64_t headerBytes = 0;
    std::uint64_t bodyBytes = 0;
    bool closes = false; ///< the connection, after that
};

/// The length that the headers announce for a body, as the fault has it.
std::uint64_t announcedLength(const Fault& fault, std::uint64_t bodyLength);

/// The reply as the fault lets it through.
ReplyShape shapeOf(const Fault& fault, std::uint64_t headerLength, std::uint64_t bodyLength);

} // namespace KelEmulator
