// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/handover.h"

#include "client/failures.h"

#include <kelaccount/errorstatus.h>

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <cstring>
#include <utility>

namespace KelAccount {

using Phase = CallState::Phase;

// ---- The bell

Doorbell::Doorbell(std::function<void()> answer) : mAnswer(std::move(answer))
{
}

QEvent::Type Doorbell::ring()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

bool Doorbell::event(QEvent* event)
{
    if (event->type() != ring())
        return QObject::event(event);
    // A copy, since this object may not survive it.
    const auto answer = mAnswer;
    answer();
    return true;
}

void HandOver::ring(Doorbell* bell)
{
    if (bell)
        QCoreApplication::postEvent(bell, new QEvent(Doorbell::ring()));
}

void HandOver::setApplicationsBell(Doorbell* bell)
{
    const Lock lock(mMutex);
    mApplicationsBell = bell;
}

// What was handed over before it hung rings now.
void HandOver::setClientsBell(Doorbell* bell)
{
    const Lock lock(mMutex);
    mClientsBell = bell;
    for (std::size_t i = 0; i < mOrders.size(); ++i)
        ring(bell);
}

// ---- How a call ends

// The caller tells the functions when it has let go of the lock.
HandOver::Finishers HandOver::finish(CallState& call, Phase phase, const Ending& ending)
{
    call.phase = phase;
    call.ending = ending;
    call.elapsedMs = call.made.elapsed();
    return std::exchange(call.finishers, {});
}

void HandOver::tell(const Finishers& finishers, const Ending& ending)
{
    for (const CallState::Finisher& finisher : finishers)
        finisher(ending.result, ending.failure);
}

FailureReason HandOver::cancelledFailure()
{
    return failureOf(ErrorOperationCanceled);
}

bool HandOver::answer(const Call& call, Ending ending)
{
    Finishers finishers;
    {
        const Lock lock(mMutex);
        if (mEnded || call->phase != Phase::Open)
            return !call->cancelled;
        finishers = finish(*call, Phase::Answered, ending);
        mAnswered.push_back(call);
        ring(mApplicationsBell);
    }
    tell(finishers, ending);
    return true;
}

void HandOver::cancel(const Call& call)
{
    HandOver& self = *call->handOver;
    const Ending ending{nullptr, cancelledFailure()};
    Finishers finishers;
    CallState::Operation operation;
    {
        const Lock lock(self.mMutex);
        call->cancelled = true;
        operation.swap(call->perform);
        if (call->phase == Phase::Open) {
            finishers = finish(*call, Phase::Ended, ending);
            if (call->isGoing && !self.mEnded) {
                if (self.mPerformed == call)
                    self.mInterruption->request();
                self.mOrders.push_back({Order::Abandon, call, nullptr});
                ring(self.mClientsBell);
            }
        }
        call->phase = Phase::Ended;
        self.mOpen.erase(call);
    }
    tell(finishers, ending);
    // Their captures may do anything when they go.
    const auto receivers = std::exchange(call->receivers, {});
}

void HandOver::cancelAll(const char* operation)
{
    std::vector<Call> calls;
    {
        const Lock lock(mMutex);
        std::copy_if(
            mOpen.begin(), mOpen.end(), std::back_inserter(calls),
            [operation](const Call& call) { return std::strcmp(call->operation, operation) == 0; });
    }
    for (const Call& call : calls)
        cancel(call);
}

void HandOver::end()
{
    std::unordered_set<Call> open;
    std::deque<Order> orders;                     // of what was taken back before; it still is
    std::vector<CallState::Operation> operations; // which hold what they were given, secrets too
    std::vector<Finishers> finishers;
    const Ending ending{nullptr, cancelledFailure()};
    {
        const Lock lock(mMutex);
        if (std::exchange(mEnded, true))
            return;
        mInterruption->request();
        mApplicationsBell = nullptr;
        open.swap(mOpen);
        std::copy_if(mOrders.begin(), mOrders.end(), std::back_inserter(orders),
                     [](const Order& order) { return order.kind == Order::Abandon; });
        orders.swap(mOrders);
        mAnswered.clear();
        for (const Call& call : open) {
            operations.push_back(std::exchange(call->perform, nullptr));
            if (call->phase == Phase::Open)
                finishers.push_back(finish(*call, Phase::Ended, ending));
            call->phase = Phase::Ended;
        }
    }
    for (const Finishers& some : finishers)
        tell(some, ending);
    std::vector<CallState::Receiver> receivers;
    for (const Call& call : open)
        std::move(call->receivers.begin(), call->receivers.end(), std::back_inserter(receivers));
    for (const Call& call : open)
        call->receivers.clear();
}

// ---- To the client's thread

void HandOver::open(const Call& call)
{
    CallState::Operation unwanted;
    const Lock lock(mMutex);
    if (!mEnded) {
        mOpen.insert(call);
        return;
    }
    unwanted.swap(call->perform);
    finish(*call, Phase::Ended, {nullptr, cancelledFailure()});
}

void HandOver::perform(const Call& call)
{
    const Lock lock(mMutex);
    if (mEnded || call->phase != Phase::Open)
        return;
    mOrders.push_back({Order::Perform, call, nullptr});
    ring(mClientsBell);
}

HandOver::Order HandOver::takeOrder()
{
    const Lock lock(mMutex);
    while (!mOrders.empty()) {
        Order order = std::move(mOrders.front());
        mOrders.pop_front();
        if (order.kind == Order::Abandon)
            return order;
        if (order.call->phase != Phase::Open)
            continue;
        order.call->isGoing = true;
        order.operation = std::exchange(order.call->perform, nullptr);
        mPerformed = order.call;
        // It may be one within another that was just taken back: then that is not meant for it.
        mInterruption->clear();
        return order;
    }
    return {};
}

HandOver::Call HandOver::performed() const
{
    const Lock lock(mMutex);
    return mPerformed;
}

void HandOver::setPerformed(const Call& before)
{
    const Lock lock(mMutex);
    mPerformed = before;
    if (!mEnded)
        mInterruption->clear();
}

// ---- To the application's thread

HandOver::Call HandOver::takeAnswered()
{
    const Lock lock(mMutex);
    while (!mAnswered.empty()) {
        const Call call = std::move(mAnswered.front());
        mAnswered.pop_front();
        if (call->phase != Phase::Answered)
            continue;
        call->phase = Phase::Delivered;
        mOpen.erase(call);
        return call;
    }
    return nullptr;
}

const Ending* HandOver::deliveredEnding(const CallState& call)
{
    const Lock lock(call.handOver->mMutex);
    // It does not change any more.
    return call.phase == Phase::Delivered && !call.handOver->mEnded ? &call.ending : nullptr;
}

bool HandOver::isAwaited(const CallState& call)
{
    const Lock lock(call.handOver->mMutex);
    return (call.phase == Phase::Open || call.phase == Phase::Answered) && !call.handOver->mEnded;
}

bool HandOver::isFinished(const CallState& call)
{
    const Lock lock(call.handOver->mMutex);
    return call.phase != Phase::Open;
}

bool HandOver::isCancelled(const CallState& call)
{
    const Lock lock(call.handOver->mMutex);
    return call.cancelled;
}

qint64 HandOver::elapsedMs(const CallState& call)
{
    const Lock lock(call.handOver->mMutex);
    return call.elapsedMs >= 0 ? call.elapsedMs : call.made.elapsed();
}

void HandOver::whenFinished(CallState& call, CallState::Finisher finisher)
{
    {
        const Lock lock(call.handOver->mMutex);
        if (call.phase == Phase::Open) {
            call.finishers.push_back(std::move(finisher));
            return;
        }
    }
    finisher(call.ending.result, call.ending.failure);
}

} // namespace KelAccount
