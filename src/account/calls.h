// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"
#include "common/flightrecord.h"

#include <kelaccount/errorstatus.h>

#include <functional>
#include <unordered_set>
#include <utility>

namespace KelAccount {

/// A call that was made, and the type of the calls that are refused as it is.
struct OpenCall
{
    int type;
    CallId id;
};
/// Answers a call with that status, later.
using RefuseCall = std::function<void(OpenCall call, ErrorStatus why)>;

/// What a call is answered with, besides what its signals carry.
struct Answer
{
    Answer(CallId answered, AnswerDetails known) : call(answered), details(std::move(known)) {}
    Answer(CallId answered, int status) : call(answered) { details.status = status; }

    CallId call; ///< 0 when it is an answer that no call is known of
    AnswerDetails details;
};

/// Which call is which: each has an identity from when it is made until it has been answered, or
/// nobody waits for it any more.
class Calls
{
public:
    Calls() = default;
    ~Calls();
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    /// The operation is the function that makes it, unless it says otherwise.
    CallId make(const char* operation = __builtin_FUNCTION());
    /// The call that was made last, refused ones included, but for those that were made in the
    /// slots of an answer. An operation that has run the event loop, and perhaps others in it, sets
    /// it when it returns.
    CallId last() const { return mLast; }
    void returnFrom(CallId call) { mLast = call; }
    /// What last() will be within the next call.
    CallId next() const { return mMade + 1; }
    /// Whether it is to be answered.
    bool isAwaited(CallId call) const { return mAwaited.count(call) != 0; }

    /// Calls `emitSignals`, unless the call was abandoned, and `emitMore`, unless it was in a slot
    /// of those. False when it was, before or in a slot. This object may be gone when it returns,
    /// and as soon as it is, nothing more is emitted.
    bool answer(const Answer& answer, const std::function<void()>& emitSignals,
                const std::function<void()>& emitMore = nullptr);
    /// While an answer's signals are being emitted: which call they answer; 0 otherwise.
    CallId answered() const { return mEmitting ? mEmitting->answer.call : 0; }
    /// The same moment: what is known of the answer besides.
    const AnswerDetails& answerDetails() const;

    /// The call gets no answer any more. False when it has been answered, or was never made.
    bool abandon(CallId call);

private:
    /// An answer that is being emitted, and the ones in whose slots that happens.
    struct Emitting
    {
        const Answer& answer;
        Emitting* outer;
        bool isAbandoned = false;
        bool isOrphaned = false;
    };

    CallId mMade = FlightRecord::newSource() * FlightRecord::callsOfASource;
    CallId mLast = 0;
    std::unordered_set<CallId> mAwaited;
    Emitting* mEmitting = nullptr; // on the stack
};

} // namespace KelAccount
