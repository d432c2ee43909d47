// SPDX-License-Identifier: LGPL-2.1-or-later
#include "oldpasswords.h"

#include <algorithm>

namespace ZorAuth {

// Doubled each time. The longest leaves time for asking the service (60 s) to an application that
// waits for 80 s, and to another one that opens its session meanwhile (90 s).
int oldPasswordDelayMs(int wrongBefore)
{
    constexpr int atOnce = 3;
    constexpr int firstMs = 1000;
    constexpr int doublings = 4;
    return wrongBefore < atOnce ? 0 : firstMs << std::min(wrongBefore - atOnce, doublings);
}

} // namespace ZorAuth
