// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/descriptor.h"
#include "emulator/wire/network.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <string>
#include <thread>

namespace KelEmulator {

/// The way between a client's socket and whoever serves it: bytes arrive as late as the network has
/// it, in their order, and no faster than its bandwidth.
///
/// The kernel of this machine opens a connection at once. So what a client sends first leaves a
/// round trip later, which is when the connection would have been open.
class Line
{
public:
    /// The client's socket stays the caller's. Null when this machine has no more sockets.
    static std::unique_ptr<Line> make(int client, Network& network);
    /// Waits until what was sent to the client has arrived, or the client is gone.
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /// What to serve.
    int farEnd() const { return mFar.number(); }
    /// What is written from now on answers all that has been read.
    void answers() { mAnswerRound = mAskedRound + 1; }

private:
    using Clock = std::chrono::steady_clock;

    struct Packet
    {
        std::string bytes; ///< empty: the end
        Clock::time_point due;
        std::int64_t round = 0;
    };

    /// One of the two.
    struct Direction
    {
        int from;
        int to;
        std::deque<Packet> packets;
        size_t bytes = 0;
        Clock::time_point freeAt; ///< when the packet before has left
        Clock::time_point lastDue;
        bool hasEnded = false; ///< nothing more is read
        bool isDone = false;   ///< nothing more is written
        bool isStuck = false;  ///< what receives is full

        bool wantsMore() const;
        bool isDue(Clock::time_point now) const;
    };

    Line(int client, Network& network, Descriptor near, Descriptor far);
    void run();
    void wait();
    void take(Direction& direction);
    void give(Direction& direction);
    Clock::time_point dueTime(Direction& direction, size_t bytes);
    void arrived(const Direction& direction, std::int64_t round);

    Network& mNetwork;
    Descriptor mNear;
    Descriptor mFar;
    Direction mToService;
    Direction mToClient;
    std::minstd_rand mRandom;
    const std::int64_t mOpenedRound; ///< of the first that a client sends
    std::atomic<std::int64_t> mAskedRound{0};
    std::atomic<std::int64_t> mAnswerRound{0};
    bool mClientIsGone = false;
    std::thread mThread;
};

} // namespace KelEmulator
