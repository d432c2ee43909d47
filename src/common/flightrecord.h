// SPDX-License-Identifier: LGPL-2.1-or-later
// What happened to the last calls of this process, moment by moment: numbers and times, which are
// written down as they happen whether or not anybody will look. Texts of an application, a service
// or a user have no place in it.
#pragma once

#include <QtGlobal>

#include <cstddef>
#include <vector>

namespace KelAccount::FlightRecord {

enum class Moment : quint8 {
    // Of a call.
    Made,      ///< `name` is the operation
    Requested, ///< it is this request
    Step,      ///< of a set-up or a sign-out; `name` says which
    Abandoned, ///< nobody waits for it any more
    Answered,  ///< with `status`
    // Of a call that goes through the sign-on session.
    Opening,    ///< a session
    Opened,     ///< one; `status` is 1, or 0 when there is none
    Queued,     ///< for the plugin, behind other requests
    WithPlugin, ///< it has the request
    Replied,    ///< it, or the daemon, with `status`
    // Of a request to the service.
    Signed,    ///< and ready to be posted; `status` is its type
    Waiting,   ///< since as many as may be are under way
    Posted,    ///< handed to the network library
    Connected, ///< by a connection that was made for it and that leads to the right server
    Sent,      ///< all of its body
    FirstByte, ///< the reply's head has been read; `status` is its HTTP status
    Read,      ///< or failed; `status` is the network library's error, `detail` the HTTP status
    TimedOut,
    TakenBack, ///< since its call was abandoned
};

/// What one moment is about. A call has its number, a request has its identifier; Requested has
/// both.
struct Event
{
    Moment moment;
    quint64 call = 0;
    int request = -1;
    int status = 0;
    int detail = 0;
    const char* name = nullptr; ///< of static storage
};

/// An event, and when it was.
struct Recorded
{
    Event event;
    qint64 nanoseconds; ///< as now() counts them
};

/// In nanoseconds, by a clock that nobody sets.
qint64 now();

/// How many are kept; older ones are overwritten. About 200 calls of the service.
constexpr std::size_t capacity = 2048;

/// On any thread, without a lock and without memory being reserved.
void record(const Event& event);

/// What is kept, the oldest first. What is being overwritten this moment is left out, and what was
/// to be written where another thread was still writing.
std::vector<Recorded> kept();

/// A number that no other source of calls in this process has: the upper half of the numbers of its
/// calls. Never 0.
quint64 newSource();

/// What comes before the numbers of the next source.
constexpr quint64 callsOfASource = quint64(1) << 32;

} // namespace KelAccount::FlightRecord
