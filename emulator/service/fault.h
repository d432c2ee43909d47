// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/clock.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace KelEmulator {

/// Something to go wrong with one request.
struct Fault
{
    enum class Kind {
        None, ///< lets one request pass
        Delay,
        Hang,
        CloseBeforeHeaders,
        CloseInHeaders,
        CloseAfterHeaders,
        CutBody,
        LongLength,
        ShortLength,
        Status,
        NotXml,
        HugeBody,
        WrongHost, ///< for the next connection rather than request
    };
    Kind kind = Kind::None;
    std::uint64_t value = 0;  ///< milliseconds, status or bytes
    int operation = 0;        ///< 1 to 26: only a request for that one, 0: any
    std::int64_t seconds = 0; ///< by the service's clock: all requests in that time, 0: one request
};

/// Reads "[COUNT*|SECONDSs*]NAME[=VALUE][@OPERATION]" and appends the fault COUNT times, or once
/// for all requests in so many seconds. False, and why in `problem`.
bool readFault(std::string_view text, std::vector<Fault>& faults, std::string& problem);

/// What can be ordered, without the values: "hang", "status=".
std::vector<std::string> knownFaults();

/// The fault as it is ordered.
std::string faultText(const Fault& fault);

/// Faults in the order in which they are to happen. A request takes the first that is meant for it:
/// one for an operation waits for a request of that operation, and lets others pass.
class FaultQueue
{
public:
    /// `clock` tells when a fault for a time is over.
    explicit FaultQueue(const Clock& clock) : mClock(clock) {}

    /// `onWrongHost` runs whenever the next fault is one for a new connection, so that clients who
    /// keep a connection open make a new one.
    void setConnectionCloser(std::function<void()> onWrongHost);

    void append(const std::vector<Fault>& faults);
    void clear();
    /// What is to come; a fault for a time with the seconds that are left.
    std::vector<Fault> list() const;

    /// Whether a fault waits for a request of one operation alone.
    bool asksForOperation() const;
    /// The next request's fault; `None` when nothing is ordered. A fault for a new connection
    /// stays.
    Fault takeForRequest(int operation);
    /// True, and taken, when the next fault is a certificate for another host.
    bool takeWrongHost();
    bool wrongHostIsNext();

private:
    struct Order
    {
        Fault fault;
        std::int64_t until = 0; ///< of a fault for a time
    };
    using Orders = std::deque<Order>;

    void forgetThoseOver();
    Orders::iterator firstFor(int operation);
    bool isWrongHostNext();
    Fault take(Orders::iterator order);
    void closeConnectionsIfDue(std::unique_lock<std::mutex> lock);

    const Clock& mClock;
    mutable std::mutex mMutex;
    Orders mOrders;
    std::function<void()> mOnWrongHost;
};

} // namespace KelEmulator
