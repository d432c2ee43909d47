// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/modemreader.h"

#include <algorithm>

namespace QtMobility {

SimCard homeSim(const QVector<SimCard>& sims)
{
    const auto unlocked =
        std::find_if(sims.begin(), sims.end(), [](const SimCard& sim) { return !sim.locked; });
    return unlocked != sims.end() ? *unlocked : sims.value(0);
}

} // namespace QtMobility
