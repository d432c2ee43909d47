// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/call.h>

#include "client/handover.h"

#include <QMetaObject>

namespace KelAccount {

CallBase::CallBase() = default;
CallBase::CallBase(std::shared_ptr<CallState> state) : mState(std::move(state))
{
}
CallBase::CallBase(const CallBase& other) = default;
CallBase::CallBase(CallBase&& other) noexcept = default;
CallBase& CallBase::operator=(const CallBase& other) = default;
CallBase& CallBase::operator=(CallBase&& other) noexcept = default;
CallBase::~CallBase() = default;

void CallBase::cancel() const
{
    if (mState)
        HandOver::cancel(mState);
}

bool CallBase::isFinished() const
{
    return !mState || HandOver::isFinished(*mState);
}

bool CallBase::isCancelled() const
{
    return mState && HandOver::isCancelled(*mState);
}

std::chrono::milliseconds CallBase::elapsed() const
{
    return std::chrono::milliseconds(mState ? HandOver::elapsedMs(*mState) : 0);
}

QString CallBase::operation() const
{
    return mState ? QString::fromLatin1(mState->operation) : QString();
}

void CallBase::deliver(QObject* context, Receiver receiver) const
{
    if (!mState || !context)
        return;
    if (!HandOver::deliveredEnding(*mState)) {
        if (HandOver::isAwaited(*mState))
            mState->receivers.push_back({context, std::move(receiver)});
        return;
    }
    const auto later = [state = mState, known = CallState::Receiver{context, std::move(receiver)}] {
        if (const Ending* const ending = HandOver::deliveredEnding(*state))
            known.tell(*ending);
    };
    QMetaObject::invokeMethod(context, later, Qt::QueuedConnection);
}

void CallBase::whenFinished(Finisher finisher) const
{
    if (mState)
        HandOver::whenFinished(*mState, std::move(finisher));
    else
        finisher(nullptr, HandOver::cancelledFailure());
}

} // namespace KelAccount
