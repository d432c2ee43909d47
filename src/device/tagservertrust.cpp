// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagservertrust.h"

#include "device/peercalls.h"

#include <atomic>
#include <limits>

namespace KelRestHandler {

namespace {

constexpr uid_t root = 0;
constexpr qint64 pauseMs = 60000;
constexpr qint64 never = std::numeric_limits<qint64>::min();

// Facades on several threads share the tag server.
std::atomic<qint64> lastHang{never};

} // namespace

bool isTagServerTrusted(int connection)
{
    const PeerCalls& calls = peerCalls();
    uid_t user = 0;
    return calls.peerUser(connection, user) && (user == root || user == calls.ownUser());
}

void noteTagServerHang()
{
    lastHang = peerCalls().monotonicMs();
}

bool hasTagServerHungLately()
{
    const qint64 last = lastHang;
    return last != never && peerCalls().monotonicMs() - last < pauseMs;
}

} // namespace KelRestHandler
