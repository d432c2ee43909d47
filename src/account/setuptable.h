// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

/// What a set-up of the device account does when: every pair of a state and an event has its place
/// in one table. docs/signon.md shows it.
namespace KelAccount::SetUpStates {

Q_NAMESPACE

enum class State {
    Idle,       ///< no set-up is under way
    Storing,    ///< the daemon is to store the credentials
    Announcing, ///< the application is told that it did not, and may be in its slot for long
    Opening,    ///< a session on the credentials is being opened
    Asking,     ///< the plugin signs in or registers
    Reserving,  ///< another set-up, here or in another process, is to let go of the accounts
    Creating,   ///< the accounts database is to take the account
    TakingBack, ///< the credentials are being removed
    // Nobody wants the set-up any more, and what was asked for has to come to its end first.
    StoringInVain,  ///< as Storing
    CreatingInVain, ///< as Creating
};
Q_ENUM_NS(State)

enum class Event {
    Begun,         ///< asked for, and nothing is against it
    NotAsked,      ///< the store could not be asked
    NotStored,     ///< the daemon did not store
    Stored,        ///< the daemon stored
    Announced,     ///< the application has been told
    Opened,        ///< the session is open
    NotOpened,     ///< there is no session
    Failed,        ///< the plugin could not sign in or register, or does not answer any more
    Succeeded,     ///< the plugin has
    NotWanted,     ///< the application wants no account on the device
    Busy,          ///< another set-up has the accounts
    Retried,       ///< the time to look at them again has come
    GivenUp,       ///< another set-up had them for too long
    Taken,         ///< there is an account already
    Free,          ///< there is none, and nobody else can make one now
    AccountStored, ///< the database has the account
    AccountFailed, ///< the account could not be made, or the database did not take it
    TakenBack,     ///< the credentials are gone, or nobody waits for that any longer
    Withdrawn,     ///< nobody waits for the answer any more
    Unheard,       ///< nobody did when the success was answered
    Abandoned,     ///< the orchestrator ends
};
Q_ENUM_NS(Event)

enum class Action {
    Missing, ///< in no place of the table
    Ignore,
    Complain, ///< an outcome of something that nobody asked for
    Store,
    Refuse, ///< from the event loop, with nothing to take back
    Announce,
    OpenSession,
    AskPlugin,
    Reserve,
    Wait,
    Create,
    Complete,
    TakeBack,
    TakeAllBack, ///< the account on the device, too
    Answer,
    RemoveUnseen,       ///< nobody is there any more to hear of it
    RemoveAllUnseen,    ///< nor of this
    RemoveUnlessStored, ///< RemoveUnseen, where the account is not in the database
};
Q_ENUM_NS(Action)

constexpr int stateCount = int(State::CreatingInVain) + 1;
constexpr int eventCount = int(Event::Abandoned) + 1;

struct Transition
{
    Action action = Action::Missing;
    State next = State::Idle;
};

Transition transition(State state, Event event);

} // namespace KelAccount::SetUpStates
