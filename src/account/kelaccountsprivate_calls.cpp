// SPDX-License-Identifier: LGPL-2.1-or-later
// Which answer belongs to which call, and calls that nobody waits for any more.
#include "account/accountsetup.h"
#include "account/accountsignout.h"
#include "account/kelaccountsprivate.h"
#include "signon/kelauthsessioninterface.h"

#include <QPointer>

#include <algorithm>
#include <utility>

using namespace KelRestHandler;

namespace KelAccount {

CallId KelAccountsPrivate::newCall()
{
    mLastCall = ++mCallsMade;
    mUnanswered.insert(mLastCall);
    return mLastCall;
}

const AnswerDetails& KelAccountsPrivate::answerDetails() const
{
    static const AnswerDetails none;
    return mAnswering ? mAnswering->details : none;
}

bool KelAccountsPrivate::answer(CallId call, AnswerDetails details,
                                const std::function<void()>& emitSignals)
{
    if (call != 0 && mUnanswered.erase(call) == 0)
        return false;
    Answering answering{call, std::move(details), mAnswering};
    mAnswering = &answering;
    const QPointer<KelAccountsPrivate> alive(this);
    emitSignals();
    if (alive)
        mAnswering = answering.outer;
    return !answering.isAbandoned;
}

void KelAccountsPrivate::answerRequest(int requestId, int status,
                                       const std::function<void()>& emitSignals)
{
    AnswerDetails details = mRestHandler.answering().details;
    details.status = status;
    answer(takeRequest(requestId), std::move(details), emitSignals);
}

void KelAccountsPrivate::answerRequest(int status, const std::function<void()>& emitSignals)
{
    answerRequest(mRestHandler.answering().requestId, status, emitSignals);
}

void KelAccountsPrivate::answerSession(int status, const std::function<void()>& emitSignals)
{
    AnswerDetails details;
    details.status = status;
    answer(mAuthSessionInterface->answeredCaller(), std::move(details), emitSignals);
}

CallId KelAccountsPrivate::takeRequest(int requestId)
{
    const auto request = mRequests.find(requestId);
    if (request == mRequests.end())
        return 0;
    const CallId call = request->second.call;
    mRequests.erase(request);
    return call;
}

void KelAccountsPrivate::abandon(CallId call)
{
    if (mUnanswered.erase(call) == 0) {
        for (Answering* answering = mAnswering; answering; answering = answering->outer)
            answering->isAbandoned = answering->isAbandoned || answering->call == call;
        return;
    }
    const auto request = std::find_if(mRequests.begin(), mRequests.end(),
                                      [call](const auto& r) { return r.second.call == call; });
    if (request != mRequests.end()) {
        mRestHandler.abandon(request->first);
        mRequests.erase(request);
    }
    mAuthSessionInterface->abandon(call);
    if (call == mSetUpCall)
        mSetUp->handle(SetUpStates::Event::Withdrawn);
    if (call == mSignOutCall)
        mSignOut->withdraw();
}

} // namespace KelAccount
