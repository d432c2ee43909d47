// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <vector>

/// What can be wrong with what an operation needs. The server and the hooks do as the rows say.
namespace Matrix {

enum class Kind {
    None,
    // By the hook in the place of the resolver.
    NameUnknown,
    NameFails,
    NameSlow,
    NameHangs,
    FirstRefuses,
    FirstDrops,
    ManyRefuse,
    // By the listeners.
    Refused,
    Dropped,
    // By the proxy.
    ProxyUnknown,
    ProxyRefused,
    ProxyAccepts, ///< and ends so
    ProxyAnswers, ///< with the bytes
    ProxyTunnels, ///< and ends so
    ProxyEndless, ///< the bytes once, then `more` for ever
    // By who stands at the service's address.
    Accepts,     ///< and ends so
    Certificate, ///< a flaw, by its name
    Handshake,   ///< something else than one, by its name
    Reads,       ///< so many bytes of the request, and ends so; -1: all of it
    Answers,     ///< with the bytes; {body} and {length} are those of the well answer
    Slow,        ///< the bytes, a piece each so many milliseconds
    Endless,     ///< the bytes once, then `more` for ever, so many milliseconds apart
    Made,        ///< a document that is made, by its name
    // By the program itself.
    Clock, ///< it is this time
    Here,  ///< by its name; number 1: the service holds its answers back, until something has
           ///< happened; 2: for good
};

/// What becomes of the connection.
enum class End { Keeps, Closes, Resets, Hangs };

struct Fault
{
    std::string group;
    std::string name; ///< that a cell is called by
    std::string what; ///< a sentence for people
    Kind kind = Kind::None;
    std::string bytes = {};
    End end = End::Keeps;
    int number = 0;
    std::string more = {};
    bool waits = false;     ///< until a guard has run out
    bool alone = false;     ///< nothing else runs beside it, so that the memory is its own
    bool picture = false;   ///< is about pictures only
    bool isForGood = false; ///< no next call can work in the same process
};

/// The first is "nothing is wrong".
const std::vector<Fault>& faults();

inline bool isByProxy(Kind kind)
{
    return kind >= Kind::ProxyUnknown && kind <= Kind::ProxyEndless;
}

/// Whether it is met on the way to the service, or at it.
inline bool isOfTheNetwork(Kind kind)
{
    return kind > Kind::None && kind < Kind::Clock;
}

} // namespace Matrix
