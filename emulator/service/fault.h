// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

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
    std::uint64_t value = 0; ///< milliseconds, status or bytes
};

/// Reads "[COUNT*]NAME[=VALUE]" and appends the fault COUNT times. False, and why in `problem`.
bool readFault(std::string_view text, std::vector<Fault>& faults, std::string& problem);

/// What can be ordered, without the values: "hang", "status=".
std::vector<std::string> knownFaults();

/// The fault as it is ordered.
std::string faultText(const Fault& fault);

/// Faults in the order in which they are to happen, one a request.
class FaultQueue
{
public:
    /// `onWrongHost` runs whenever the next fault is one for a new connection, so that clients who
    /// keep a connection open make a new one.
    void setConnectionCloser(std::function<void()> onWrongHost);

    void append(const std::vector<Fault>& faults);
    void clear();
    std::vector<Fault> list() const;

    /// The next request's fault; `None` when nothing is ordered. A fault for a new connection
    /// stays.
    Fault takeForRequest();
    /// True, and taken, when the next fault is a certificate for another host.
    bool takeWrongHost();
    bool wrongHostIsNext() const;

private:
    void closeConnectionsIfDue(std::unique_lock<std::mutex> lock);

    mutable std::mutex mMutex;
    std::deque<Fault> mFaults;
    std::function<void()> mOnWrongHost;
};

} // namespace KelEmulator
