// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "options.h"

#include <string_view>

namespace TagServerEmulator {

/// What a request frame must be: 00 C3, the size of the rest as 16 bits, "0", the key's length as
/// 16 bits, and the key, which is neither empty nor longer than 500 bytes. All numbers big-endian.
bool isRequest(std::string_view frame);

/// The reply that the options ask for.
std::string replyFor(const Options& options, std::string_view frame);

/// Listens and answers one client after the other until a signal ends the process. Returns the exit
/// status when it cannot listen.
int serve(const Options& options);

} // namespace TagServerEmulator
