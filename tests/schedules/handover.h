// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <mutex>

namespace Schedules {

/// What Qt's queues hand from one thread to another is handed over by a lock of the C++ library as
/// well: a checker of threads does not see Qt's. Called where something is given away, and first
/// where it is taken.
inline void handOver()
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
}

} // namespace Schedules
