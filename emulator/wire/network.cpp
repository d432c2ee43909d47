// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/network.h"

namespace KelEmulator {

NetworkConditions Network::conditions() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mConditions;
}

void Network::setConditions(const NetworkConditions& conditions)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mConditions = conditions;
}

void Network::arriveAt(std::int64_t round)
{
    std::int64_t reached = mRound;
    while (reached < round && !mRound.compare_exchange_weak(reached, round)) {
    }
}

} // namespace KelEmulator
