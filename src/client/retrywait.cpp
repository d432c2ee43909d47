// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/retrywait.h"

#include <algorithm>
#include <limits>

namespace KelAccount {

std::chrono::seconds suggestedWait(std::chrono::seconds asked, std::uint32_t random)
{
    constexpr std::int64_t longest = std::numeric_limits<int>::max();
    const std::int64_t least = std::clamp<std::int64_t>(asked.count(), 0, longest);
    const std::int64_t choices = (least + 1) / 2 + 1;
    return std::chrono::seconds(std::min(least + std::int64_t{random} % choices, longest));
}

} // namespace KelAccount
