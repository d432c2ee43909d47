// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "client/callstate.h"
#include "device/interruption.h"

#include <QEvent>
#include <QObject>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace KelAccount {

/// Rings when something has been handed over to its thread.
class Doorbell : public QObject
{
public:
    explicit Doorbell(std::function<void()> answer);
    bool event(QEvent* event) override;

    static QEvent::Type ring();

private:
    std::function<void()> mAnswer;
};

/// All that the thread of an application and the thread of its client hand each other, under the
/// one lock that there is. What a call's Call objects know of it stands under the same lock.
///
/// Nothing is called, and nothing of the application's is destroyed, while it is held.
class HandOver
{
public:
    using Call = std::shared_ptr<CallState>;

    /// What the client's thread is to do next.
    struct Order
    {
        enum Kind { Nothing, Perform, Abandon };
        Kind kind = Nothing;
        Call call;
        CallState::Operation operation; ///< of Perform
    };

    // ---- On the application's thread.

    /// An open call, to be performed later.
    void open(const Call& call);
    void perform(const Call& call);

    /// The functions of an open call are not called any more; its futures are finished with 405.
    /// Of an answered one, what was not delivered is kept back.
    static void cancel(const Call& call);

    /// An answered call to tell, or none. It is `Delivered` from now on.
    Call takeAnswered();

    /// Of the open calls of that operation.
    void cancelAll(const char* operation);

    /// Nothing is handed over any more, and nothing that was is told. Futures of what is open are
    /// finished with 405.
    void end();

    void setApplicationsBell(Doorbell* bell);

    // ---- On the client's own thread.

    void setClientsBell(Doorbell* bell);

    /// One order for each ring. A call is the one performed until another is taken or done with.
    Order takeOrder();
    /// `before` is performed again, from which the one that is done with was called.
    Call performed() const;
    void setPerformed(const Call& before);

    /// Only the first one counts, and none of a call that was cancelled: then false.
    bool answer(const Call& call, Ending ending);

    // ---- On any thread.

    static bool isFinished(const CallState& call);
    static bool isCancelled(const CallState& call);
    static qint64 elapsedMs(const CallState& call);
    /// Calls the function now when the call is finished, and when it is otherwise.
    static void whenFinished(CallState& call, CallState::Finisher finisher);
    /// The ending of a call that has been delivered and not cancelled since.
    static const Ending* deliveredEnding(const CallState& call);

    /// Whether a function that is given to it now may be called one day.
    static bool isAwaited(const CallState& call);

    static FailureReason cancelledFailure();

    /// Ends what the client's thread waits for in vain.
    const std::shared_ptr<KelRestHandler::Interruption>& interruption() const
    {
        return mInterruption;
    }

private:
    using Lock = std::unique_lock<std::mutex>;
    using Finishers = std::vector<CallState::Finisher>;

    static Finishers finish(CallState& call, CallState::Phase phase, const Ending& ending);
    static void tell(const Finishers& finishers, const Ending& ending);
    static void ring(Doorbell* bell);

    const std::shared_ptr<KelRestHandler::Interruption> mInterruption =
        std::make_shared<KelRestHandler::Interruption>();

    mutable std::mutex mMutex;
    bool mEnded = false;
    std::unordered_set<Call> mOpen; ///< and those that are answered but not delivered
    Call mPerformed;                ///< at this moment
    std::deque<Order> mOrders;
    std::deque<Call> mAnswered;
    Doorbell* mApplicationsBell = nullptr;
    Doorbell* mClientsBell = nullptr;
};

} // namespace KelAccount
