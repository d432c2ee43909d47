// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

#include <array>
#include <optional>
#include <vector>

/// What happens to objects of facade and client in one schedule, and in which order. It follows
/// from a seed, and is written as a row of text: what remains of it when steps are left out is a
/// plan, too.
namespace Schedules {

enum class Act {
    Facade,     ///< make one
    Client,     ///< make one
    Call,       ///< of object, operation; what becomes of the call
    Burst,      ///< the same, so many times
    BadCall,    ///< with arguments that the documents refuse
    Prepare,    ///< a connection
    Cancel,     ///< a call of a client, or one of an operation that is asked for anew
    End,        ///< delete the object
    EndLater,   ///< have it deleted by the event loop
    Context,    ///< make one, or delete one
    InAnswer,   ///< when the object is answered next, do something of the following
    Wait,       ///< milliseconds
    Loop,       ///< an event loop within, for milliseconds, in which the next steps are done
    Fault,      ///< what the service does to the next requests
    Disconnect, ///< the service closes its connections
    Settle,     ///< wait until everything is answered
    // Where there are sessions.
    SessionCall, ///< of object, operation that needs credentials; what becomes of the call
    SignIn,      ///< of object; what becomes of the call
    Strike,      ///< what happens to daemon, plugin or bus
    BusEnds,     ///< for good
};

struct Step
{
    Act act = Act::Wait;
    /// What it is about, each taken modulo what there is.
    std::array<int, 3> values = {};
};

struct Plan
{
    bool isOnAnotherThread = false; ///< than the application's, with an event loop of its own
    bool endsUnanswered = false;    ///< nobody waits at the end
    bool endsWithApplication = false;
    std::vector<Step> steps;
};

/// What is chosen from.
enum class Mix { WithoutSessions, WithSessions };

Plan planOf(quint32 seed, Mix mix);
/// The session bus ends in the middle of it.
Plan withoutBus(Plan plan);
QString textOf(const Plan& plan);
/// None for what is no plan.
std::optional<Plan> planFrom(const QString& text);

} // namespace Schedules
