// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

namespace fleet {

/// What the service does while it is down.
enum class Outage {
    None,
    Unreachable, ///< connections are refused at once
    Silent,      ///< nothing is answered; connections come about as soon as it is back
    Asking,      ///< a front answers 503 with a "Retry-After:" of so many seconds
    Naming,      ///< a front answers 503 with a "Retry-After:" that names the moment of its return
};

/// What an application does with a call that failed and may be made again.
enum class Again {
    Fixed,     ///< makes it again after its own pause, whatever the service says
    AsSaid,    ///< waits as long as the service says, else its own pause
    Suggested, ///< waits as long as the client suggests, else its own pause
    Doubling,  ///< waits as long as the client suggests, else its own pause, doubled each time and
               ///< spread
};

/// Times are in seconds.
struct Settings
{
    int handsets = 1000000;
    std::uint64_t seed = 1;

    /// An application's screen is opened every two hours and makes four calls.
    double betweenScreens = 7200;
    int callsOfScreen = 4;
    double untilFirstCall = 8; ///< on average, as are the pauses
    double betweenCalls = 3;
    double roundTrip = 0.1;

    bool isPrepared =
        false;        ///< a connection is opened with the screen, which closes after its calls
    int renewals;     ///< of it, when three quarters of the limit have passed without a call
    double idleLimit; ///< of the library
    double heldUnused = 120; ///< how long the network library holds a connection
    double guard;            ///< of the library

    double requestsASecond = 1000;   ///< that the service answers
    double handshakesASecond = 2000; ///< of its front, which also refuses, at no cost that counts
    double longestQueue = 2;         ///< a request that would wait longer is refused
    double longestBacklog = 1;       ///< a connection that would wait longer is not accepted
    double serviceKeepsIdle = 5;
    double askedWait = 30; ///< by the "Retry-After:" of a refusal

    Outage outage = Outage::None;
    double outageStart = 300;
    double outageLength = 300;
    double end = 1800;

    Again again = Again::Fixed;
    double ownPause = 5;
    double longestPause = 120;
    double patience = 900; ///< with one call

    Settings(); ///< takes the library's own limits from the library
};

/// What happened in one second.
struct Second
{
    std::int64_t attempts = 0; ///< that left a handset
    std::int64_t arrivals = 0; ///< requests that reached the service or its front
    std::int64_t handshakes = 0;
    std::int64_t notAccepted = 0; ///< connections; the kernel tries again
    std::int64_t answered = 0;
    std::int64_t refused = 0;
    std::int64_t guarded = 0; ///< the library gave up on an answer
    std::int64_t unreachable = 0;
    std::int64_t connections = 0; ///< open at its end
    double queue = 0;             ///< the longest wait for the service

    std::int64_t failures() const { return refused + guarded + unreachable; }
};

struct Result
{
    std::vector<Second> seconds;
    std::int64_t calls = 0;
    std::int64_t prepared = 0;   ///< connections that were opened before a call needed one
    std::int64_t givenUp = 0;    ///< calls
    std::int64_t waiting = 0;    ///< calls that are to be tried again at the end
    std::int64_t onTheirWay = 0; ///< attempts without an outcome at the end
    std::int64_t again = 0;      ///< attempts after the first of a call
    std::int64_t leftOpen = 0;   ///< connections at the end, beyond what closes them
    std::int64_t wasted = 0; ///< requests carried out for an answer that nobody waited for any more

    Second sum() const;
};

/// Runs the same for the same settings, wherever it runs.
Result simulate(const Settings& settings);

/// The second after which nothing fails any more and nothing waits for longer than one second,
/// counted from the service's return; -1 when that does not come.
int secondsUntilCalm(const Settings& settings, const Result& result);

} // namespace fleet
