// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/networkconditions.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace KelEmulator {

/// The network as it is now, and what was counted on it. For many threads at once.
///
/// Round trips are counted by what follows from what, not by the clock. The clients of this machine
/// have seen so many answers, one behind the other: that is their round. A question belongs to the
/// round in which it is sent. Its answer, once the client has it, makes that round one higher; so
/// do the opening of a connection and the answer to CONNECT, and the service's part of a TLS
/// handshake. Questions that are under way at the same time are of one round. What nobody waits
/// for counts nothing: the tickets behind a handshake, the goodbye of a connection.
class Network
{
public:
    NetworkConditions conditions() const;
    void setConditions(const NetworkConditions& conditions);

    /// How many answers one behind the other the clients have had. Only counted where there are
    /// conditions.
    std::int64_t round() const { return mRound; }
    NetworkCounts counts() const { return {connections, handshakes, resumptions, mRound}; }
    /// An answer with this number has arrived.
    void arriveAt(std::int64_t round);

    std::atomic<std::int64_t> connections{0}; ///< accepted
    std::atomic<std::int64_t> handshakes{0};  ///< of TLS that came to their end
    std::atomic<std::int64_t> resumptions{0}; ///< those of them that resumed a session

private:
    mutable std::mutex mMutex; ///< of the conditions
    NetworkConditions mConditions;
    std::atomic<std::int64_t> mRound{0};
};

} // namespace KelEmulator
