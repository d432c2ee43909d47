// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <chrono>
#include <cstdint>

namespace KelAccount {

/// How long to wait with the same call when the service asked for `asked`: so long, and by `random`
/// up to half as long again. Whoever asks names the same time to everybody, at worst the moment at
/// which it is back; those who waited would return together and end it anew (docs/fleet.md). Never
/// less than what was asked for, at most what an int holds, and 0 for 0.
std::chrono::seconds suggestedWait(std::chrono::seconds asked, std::uint32_t random);

} // namespace KelAccount
