// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/export.h>
#include <kelaccount/results.h>

#include <QFuture>
#include <QFutureInterface>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

class QObject;

namespace KelAccount {

struct CallState;

/// How a call ended: with a result, or with the reason why there is none.
template <class Result>
class Outcome
{
public:
    Outcome() = default;
    explicit Outcome(std::shared_ptr<const Result> result) : mResult(std::move(result)) {}
    explicit Outcome(std::shared_ptr<const Failure> failure) : mFailure(std::move(failure)) {}

    bool isSuccess() const { return mResult != nullptr; }
    explicit operator bool() const { return isSuccess(); }

    /// Of a failure: an empty one.
    const Result& result() const
    {
        static const Result none{};
        return mResult ? *mResult : none;
    }
    /// Of a success: one with status 0.
    const Failure& failure() const
    {
        static const Failure none{};
        return mFailure ? *mFailure : none;
    }

private:
    std::shared_ptr<const Result> mResult;
    std::shared_ptr<const Failure> mFailure;
};

/// What a call is, whatever its result.
class KELACCOUNT_EXPORT CallBase
{
public:
    /// Of no operation; finished, and never answered.
    CallBase();
    CallBase(const CallBase& other);
    CallBase(CallBase&& other) noexcept;
    CallBase& operator=(const CallBase& other);
    CallBase& operator=(CallBase&& other) noexcept;
    ~CallBase();

    /// Takes the call back: no function given to then() is called afterwards, and futures of an
    /// unfinished call are finished with a failure of status 405 (ErrorOperationCanceled). What has
    /// not gone out does not go out. What has gone out is abandoned; a set-up is taken back from
    /// the device whole. Of a finished call, it only keeps back what was not delivered yet.
    void cancel() const;

    /// Whether it is known how the call ended; also of one that was cancelled, or whose client is
    /// gone.
    bool isFinished() const;

    /// Whether cancel() has been called, by the application or on its behalf for a newer question.
    bool isCancelled() const;

    /// From the call until it was finished, or until now.
    std::chrono::milliseconds elapsed() const;

    /// Name of the method that made it: "isUserIdAvailable". Empty for a call of no operation.
    QString operation() const;

protected:
    using Receiver = std::function<void(const void* result, const Failure& failure)>;
    using Finisher = std::function<void(const std::shared_ptr<const void>& result,
                                        const std::shared_ptr<const Failure>& failure)>;

    explicit CallBase(std::shared_ptr<CallState> state);

    void deliver(QObject* context, Receiver receiver) const;
    void whenFinished(Finisher finisher) const;

private:
    std::shared_ptr<CallState> mState;
};

/// One call of a KelAccount::Client: a small value that can be copied, kept and dropped; all copies
/// are the same call, and dropping them does not take it back. To be used on the client's thread,
/// but for what future() returns. docs of KelAccount::Client say who gets an answer when.
template <class Result>
class Call : public CallBase
{
public:
    Call() = default;

    /// Has one of the two functions called with how the call ended: once, from the event loop of
    /// the client's thread, and not at all once `context` is gone or the call cancelled. `context`
    /// lives on the client's thread; without one nothing is called. May be called more than once,
    /// and on a finished call, too. A function may also have no parameter.
    template <class OnDone, class OnFailure>
    const Call& then(QObject* context, OnDone onDone, OnFailure onFailure) const
    {
        // Shared, so that the functions need not be copyable.
        auto functions =
            std::make_shared<std::pair<OnDone, OnFailure>>(std::move(onDone), std::move(onFailure));
        deliver(context, [functions](const void* result, const Failure& failure) {
            if (result)
                invoke(functions->first, *static_cast<const Result*>(result));
            else
                invoke(functions->second, failure);
        });
        return *this;
    }

    /// For a caller to whom a failure does not matter.
    template <class OnDone>
    const Call& then(QObject* context, OnDone onDone) const
    {
        return then(context, std::move(onDone), [] {});
    }

    /// Of how the call ends. It is finished on another thread than the client's, so that waiting
    /// for it there does not lock up. Cancelling it ends the waiting, not the call.
    ///
    /// co_await gives the same: through QCoro, `co_await call.future()` is the outcome, and after a
    /// cancel() or the end of the client a failure with status 405.
    QFuture<Outcome<Result>> future() const
    {
        QFutureInterface<Outcome<Result>> promise;
        promise.reportStarted();
        whenFinished([promise](const std::shared_ptr<const void>& result,
                               const std::shared_ptr<const Failure>& failure) mutable {
            const auto outcome =
                result ? Outcome<Result>(std::static_pointer_cast<const Result>(result))
                       : Outcome<Result>(failure);
            promise.reportFinished(&outcome);
        });
        return promise.future();
    }

private:
    friend class ClientPrivate;
    explicit Call(std::shared_ptr<CallState> state) : CallBase(std::move(state)) {}

    template <class Function, class Value>
    static void invoke(Function& function, const Value& value)
    {
        if constexpr (std::is_invocable_v<Function&, const Value&>)
            function(value);
        else
            function();
    }
};

} // namespace KelAccount
