// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/calls.h"

#include "account/recording/tracefile.h"

namespace KelAccount {

using FlightRecord::Moment;

// What is on the stack outlives an object that is deleted in a slot.
Calls::~Calls()
{
    for (Emitting* emitting = mEmitting; emitting; emitting = emitting->outer)
        emitting->isOrphaned = true;
}

CallId Calls::make(const char* operation)
{
    mLast = ++mMade;
    mAwaited.insert(mLast);
    FlightRecord::record({Moment::Made, mLast, -1, 0, 0, operation});
    return mLast;
}

bool Calls::answer(const Answer& answer, const std::function<void()>& emitSignals,
                   const std::function<void()>& emitMore)
{
    if (answer.call != 0 && mAwaited.erase(answer.call) == 0)
        return false;
    if (answer.call != 0)
        FlightRecord::record({Moment::Answered, answer.call, -1, answer.details.status});
    if (answer.details.status != ErrorNone)
        TraceFile::writeAfterFailure();
    Emitting emitting{answer, mEmitting};
    mEmitting = &emitting;
    const CallId last = mLast;
    emitSignals();
    if (emitMore && !emitting.isOrphaned && !emitting.isAbandoned)
        emitMore();
    if (!emitting.isOrphaned) {
        mEmitting = emitting.outer;
        mLast = last;
    }
    return !emitting.isAbandoned;
}

const AnswerDetails& Calls::answerDetails() const
{
    static const AnswerDetails none;
    return mEmitting ? mEmitting->answer.details : none;
}

bool Calls::abandon(CallId call)
{
    if (mAwaited.erase(call) != 0) {
        FlightRecord::record({Moment::Abandoned, call});
        return true;
    }
    for (Emitting* emitting = mEmitting; emitting; emitting = emitting->outer)
        emitting->isAbandoned = emitting->isAbandoned || emitting->answer.call == call;
    return false;
}

} // namespace KelAccount
