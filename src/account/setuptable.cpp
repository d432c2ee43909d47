// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/setuptable.h"

namespace KelAccount::SetUpStates {

namespace {

using A = Action;
using S = State;

// Nothing happens, and the set-up stays where it is.
constexpr Transition none(S state)
{
    return {A::Ignore, state};
}
// Nor here, but a component reported what it was not asked for, and that is worth a line.
constexpr Transition odd(S state)
{
    return {A::Complain, state};
}

constexpr auto idle = S::Idle;
constexpr auto stor = S::Storing;
constexpr auto anno = S::Announcing;
constexpr auto open = S::Opening;
constexpr auto aski = S::Asking;
constexpr auto rese = S::Reserving;
constexpr auto crea = S::Creating;
constexpr auto back = S::TakingBack;
constexpr auto stov = S::StoringInVain;
constexpr auto crev = S::CreatingInVain;

// clang-format off
// A line for each event, in each a place for every state in their order.
constexpr Transition table[eventCount][stateCount] = {
/* Begun */         {{A::Store, stor}, none(stor), none(anno), none(open), none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
/* NotAsked */      {none(idle), {A::Refuse, idle}, none(anno), none(open), none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
/* NotStored */     {odd(idle), {A::Announce, anno}, odd(anno), odd(open), odd(aski), odd(rese), odd(crea), odd(back), {A::Answer, idle}, odd(crev)},
/* Stored */        {odd(idle), {A::OpenSession, open}, odd(anno), odd(open), odd(aski), odd(rese), odd(crea), odd(back), {A::TakeBack, back}, odd(crev)},
/* Announced */     {none(idle), none(stor), {A::Ignore, idle}, none(open), none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
/* Opened */        {none(idle), none(stor), none(anno), {A::AskPlugin, aski}, none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
/* NotOpened */     {none(idle), none(stor), none(anno), {A::TakeBack, back}, none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
/* Failed */        {none(idle), none(stor), none(anno), none(open), {A::TakeBack, back}, none(rese), none(crea), none(back), none(stov), none(crev)},
/* Succeeded */     {none(idle), none(stor), none(anno), none(open), {A::Reserve, rese}, none(rese), none(crea), none(back), none(stov), none(crev)},
/* NotWanted */     {none(idle), none(stor), none(anno), none(open), none(aski), {A::Complete, idle}, none(crea), none(back), none(stov), none(crev)},
/* Busy */          {none(idle), none(stor), none(anno), none(open), none(aski), {A::Wait, rese}, none(crea), none(back), none(stov), none(crev)},
/* Retried */       {none(idle), none(stor), none(anno), none(open), none(aski), {A::Reserve, rese}, none(crea), none(back), none(stov), none(crev)},
/* GivenUp */       {none(idle), none(stor), none(anno), none(open), none(aski), {A::TakeBack, back}, none(crea), none(back), none(stov), none(crev)},
/* Taken */         {none(idle), none(stor), none(anno), none(open), none(aski), {A::TakeBack, back}, none(crea), none(back), none(stov), none(crev)},
/* Free */          {none(idle), none(stor), none(anno), none(open), none(aski), {A::Create, crea}, none(crea), none(back), none(stov), none(crev)},
/* AccountStored */ {none(idle), none(stor), none(anno), none(open), none(aski), none(rese), {A::Complete, idle}, none(back), none(stov), {A::TakeAllBack, back}},
/* AccountFailed */ {none(idle), none(stor), none(anno), none(open), none(aski), none(rese), {A::TakeBack, back}, none(back), none(stov), {A::TakeBack, back}},
/* TakenBack */     {none(idle), none(stor), none(anno), none(open), none(aski), none(rese), none(crea), {A::Answer, idle}, none(stov), none(crev)},
/* Withdrawn */     {none(idle), {A::Ignore, stov}, none(anno), {A::TakeBack, back}, {A::TakeBack, back}, {A::TakeBack, back}, {A::Ignore, crev}, none(back), none(stov), none(crev)},
/* Unheard */       {{A::TakeAllBack, back}, none(stor), none(anno), none(open), none(aski), none(rese), none(crea), none(back), none(stov), none(crev)},
// The store removes by itself what comes for nobody, and so does a removal. An account that is in
// the database needs its credentials, or has to go with them; one that still waits for it never
// gets there.
/* Abandoned */     {none(idle), {A::Ignore, idle}, {A::Ignore, idle}, {A::RemoveUnseen, idle}, {A::RemoveUnseen, idle}, {A::RemoveUnseen, idle}, {A::RemoveUnlessStored, idle}, {A::Ignore, idle}, {A::Ignore, idle}, {A::RemoveAllUnseen, idle}},
};
// clang-format on

constexpr bool isComplete()
{
    for (const auto& line : table) {
        for (const Transition& place : line) {
            if (place.action == A::Missing)
                return false;
        }
    }
    return true;
}
static_assert(isComplete(), "a pair of state and event has no place in the table");

} // namespace

Transition transition(State state, Event event)
{
    return table[int(event)][int(state)];
}

} // namespace KelAccount::SetUpStates
