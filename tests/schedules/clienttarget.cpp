// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/target.h"

#include "client/clientcalls.h"
#include "schedules/documented.h"
#include "support/literals.h"

#include <kelaccount/client.h>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

using namespace KelAccount;
using namespace KelTest;

namespace Schedules {

namespace {

/// One call, and what has to come of it.
struct Tracked
{
    QString name;
    std::optional<CallBase> call; ///< none when the application has dropped it
    Answers answers;
    QObject* context = nullptr;
    /// Since somebody took it back or is gone: how often it had been answered until then.
    std::optional<int> silent;
    std::function<bool()> isFutureFinished;

    int count() const { return answers.lines.size(); }
    void silence()
    {
        if (!silent)
            silent = count();
    }
};

class ClientTarget : public Target
{
public:
    ClientTarget(Stage& stage, bool isInitialised)
        : Target(stage), mClient(std::make_unique<Client>())
    {
        if (isInitialised)
            mClient->initialize("key"_s, "planted-secret"_s, Server::Production, "shop"_s);
    }

    void call(int operation, QObject* context, int fate) override
    {
        const ClientCall& chosen = clientCalls().at(operation % clientCalls().size());
        Tracked* const tracked = track(text(chosen.name), context);
        if (!tracked)
            return;
        mIsInCall = true;
        const MadeCall made = chosen.make(*mClient, tracked->answers, context);
        mIsInCall = false;
        tracked->call = made.call;
        if (fate % 5 == 0)
            tracked->isFutureFinished = made.future();
        if (fate % 3 == 0)
            tracked->call.reset();
    }
    // A client signs out, too.
    void sessionCall(int operation, QObject* context, int fate) override
    {
        const int which = operation % (sessionOperations().size() + 1);
        callNamed(sessionOperations().value(which, "signOut"_s), context, fate);
    }
    void signIn(QObject* context, int fate) override
    {
        callNamed("signInAndConfigure"_s, context, fate);
    }
    void badCall(int operation) override { call(operation, nullptr, 0); }
    void prepare() override
    {
        if (mClient)
            mClient->prepare();
    }
    void cancel(int which, QObject* context, int how) override
    {
        if (how % 3 == 0) {
            askAnew(context, how % 2 == 0);
            return;
        }
        if (mCalls.empty())
            return;
        Tracked& tracked = *mCalls[static_cast<size_t>(which) % mCalls.size()];
        if (!tracked.call)
            return;
        tracked.silence();
        tracked.call->cancel();
    }
    void end() override
    {
        if (mClient)
            silence();
        const std::unique_ptr<Client> ending = std::move(mClient);
    }
    void endLater() override
    {
        // What comes until then may come.
        mIsLeaving = true;
        if (mClient)
            mClient.release()->deleteLater();
    }
    void contextEnds(QObject* context) override
    {
        for (const auto& tracked : mCalls) {
            if (tracked->context == context)
                tracked->silence();
        }
    }
    bool isThere() const override { return mClient != nullptr; }
    bool isClient() const override { return true; }
    bool isSettled() const override
    {
        for (const auto& tracked : mCalls) {
            if (!mIsLeaving && !tracked->silent && tracked->count() == 0)
                return false;
            if (!mIsLeaving && tracked->isFutureFinished && !tracked->isFutureFinished())
                return false;
        }
        return true;
    }
    QString problem(bool wereAwaited) const override
    {
        for (const auto& tracked : mCalls) {
            const bool isOpen = !tracked->silent && (mIsLeaving || !wereAwaited);
            const int wanted = tracked->silent.value_or(1);
            if (tracked->count() > wanted || (!isOpen && tracked->count() < wanted))
                return "a client's %1 was answered %2 times instead of %3: %4"_s.arg(tracked->name)
                    .arg(tracked->count())
                    .arg(wanted)
                    .arg(tracked->answers.lines.join("; "_s));
            const bool isOver = !mIsLeaving && (wereAwaited || !mClient);
            if (isOver && tracked->isFutureFinished && !tracked->isFutureFinished())
                return "the future of a client's %1 was not finished"_s.arg(tracked->name);
        }
        return {};
    }

private:
    void silence()
    {
        for (const auto& tracked : mCalls)
            tracked->silence();
    }

    void callNamed(const QString& name, QObject* context, int fate)
    {
        for (int i = 0; i < clientCalls().size(); ++i) {
            if (name == QLatin1String(clientCalls().at(i).name))
                call(i, context, fate);
        }
    }

    Tracked* track(const QString& name, QObject* context)
    {
        if (!mClient)
            return nullptr;
        mCalls.push_back(std::make_unique<Tracked>());
        Tracked* const tracked = mCalls.back().get();
        tracked->name = name;
        tracked->context = context;
        if (!context)
            tracked->silence();
        tracked->answers.afterwards = [this, tracked] { heard(*tracked); };
        return tracked;
    }

    // Only the newest question counts.
    void askAnew(QObject* context, bool isPatient)
    {
        for (const auto& tracked : mCalls) {
            if (tracked->name == "isUserIdAvailable"_s)
                tracked->silence();
        }
        Tracked* const tracked = track("isUserIdAvailable"_s, context);
        if (!tracked)
            return;
        mIsInCall = true;
        const When when = isPatient ? When(Debounce{std::chrono::milliseconds(2)}) : When(Latest);
        const auto call = mClient->isUserIdAvailable("bob"_s, when);
        tracked->call = call;
        tracked->answers.expect(call, context);
        mIsInCall = false;
    }

    void heard(const Tracked& tracked)
    {
        const QString line = tracked.answers.lines.last();
        if (mIsInCall)
            mStage.complain("a client answered from inside a call: "_s + line);
        if (tracked.silent && tracked.count() > *tracked.silent)
            mStage.complain("answered after it was taken back: "_s + line);
        if (tracked.count() > 1)
            mStage.complain("answered twice: "_s + tracked.answers.lines.join("; "_s));
        const QString failed = tracked.name + " failed: "_s;
        if (line.startsWith(failed) && !isDocumented(tracked.name, line.mid(failed.size()).toInt()))
            mStage.complain("a client's %1, which is not documented"_s.arg(line));
        mStage.answered(*this);
    }

    // What the facade has not is an operation of the session.
    bool isDocumented(const QString& name, int status) const
    {
        return status != 0 &&
               mStage.documented().has(name == "signOut"_s ? "downloadProfile"_s : name, status);
    }

    std::unique_ptr<Client> mClient;
    bool mIsLeaving = false;
    bool mIsInCall = false;
    std::vector<std::unique_ptr<Tracked>> mCalls;
};

} // namespace

std::unique_ptr<Target> makeClient(Stage& stage, bool isInitialised)
{
    return std::make_unique<ClientTarget>(stage, isInitialised);
}

} // namespace Schedules
