// SPDX-License-Identifier: LGPL-2.1-or-later
#include "schedules/run.h"

#include "schedules/documented.h"
#include "schedules/handover.h"
#include "schedules/leftovers.h"
#include "schedules/messages.h"
#include "schedules/target.h"
#include "schedules/world.h"
#include "support/literals.h"
#include "support/liveobjects.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QNetworkConfigurationManager>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

using namespace KelTest;

namespace Schedules {

namespace {

int patienceMs = 30000;
constexpr size_t mostTargets = 6;
constexpr int deepest = 3;

class Schedule : public Stage
{
public:
    Schedule(const Plan& plan, World& world, const Documented& documented)
        : mPlan(plan), mWorld(world), mDocumented(documented)
    {
    }

    void run()
    {
        while (mAt < mPlan.steps.size())
            perform(mPlan.steps[mAt++]);
        if (!mPlan.endsUnanswered)
            settle();
        judge(!mPlan.endsUnanswered);
        for (const auto& target : mTargets) {
            if (!mPlan.endsWithApplication || !target->isClient())
                target->end();
        }
        letPass(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        judge(false);
    }
    // What is left are clients.
    void endAfterApplication()
    {
        for (const auto& target : mTargets) {
            target->call(0, mContexts.empty() ? nullptr : mContexts.front().get(), 0);
            target->end();
        }
        judge(false);
    }
    QString problem() const { return mProblem; }

    void complain(const QString& problem) override
    {
        if (mProblem.isEmpty())
            mProblem = problem;
    }
    void answered(Target& target) override;
    const Documented& documented() const override { return mDocumented; }

private:
    void perform(const Step& step);
    void performAt(Target& chosen, const Step& step);
    void inAnswer(Target& target, int what, int which);
    void add(bool isClient, int how);
    void loop(int milliseconds, int steps);
    void letPass(int milliseconds);
    void changeContexts(int how);
    void settle();
    void judge(bool wereAwaited);
    Target* target(int number);
    QObject* context(int number);

    const Plan& mPlan;
    World& mWorld;
    const Documented& mDocumented;
    QString mProblem;
    size_t mAt = 0;
    int mDepth = 0;
    std::vector<std::unique_ptr<QObject>> mContexts;
    std::vector<std::unique_ptr<Target>> mTargets;
    std::map<Target*, std::deque<Step>> mInAnswers;
};

Target* Schedule::target(int number)
{
    std::vector<Target*> there;
    for (const auto& target : mTargets) {
        if (target->isThere())
            there.push_back(target.get());
    }
    return there.empty() ? nullptr : there[static_cast<size_t>(number) % there.size()];
}

// One of ten calls is made by somebody who does not care.
QObject* Schedule::context(int number)
{
    return mContexts.empty() || number % 10 == 0
               ? nullptr
               : mContexts[static_cast<size_t>(number) % mContexts.size()].get();
}

void Schedule::add(bool isClient, int how)
{
    const auto there = std::count_if(mTargets.begin(), mTargets.end(),
                                     [](const auto& target) { return target->isThere(); });
    if (static_cast<size_t>(there) >= mostTargets)
        return;
    const bool isInitialised = how % 10 != 0;
    mTargets.push_back(isClient ? makeClient(*this, isInitialised)
                                : makeFacade(*this, isInitialised));
}

void Schedule::perform(const Step& step)
{
    const auto [first, second, third] = step.values;
    switch (step.act) {
    case Act::Facade:
    case Act::Client:
        return add(step.act == Act::Client, first);
    case Act::Context:
        return changeContexts(first);
    case Act::Wait:
        return letPass(first % 4);
    case Act::Loop:
        return loop(first % 4, second % 4);
    case Act::Fault:
        return mWorld.disturb(first, second);
    case Act::Disconnect:
        return mWorld.disconnect();
    case Act::Strike:
        return mWorld.strike(first);
    case Act::BusEnds:
        return mWorld.endBus();
    case Act::Settle:
        return settle();
    default:
        if (Target* const chosen = target(first))
            performAt(*chosen, step);
    }
}

void Schedule::performAt(Target& chosen, const Step& step)
{
    const int second = step.values[1];
    const int third = step.values[2];
    switch (step.act) {
    case Act::Call:
        return chosen.call(second, context(third), third);
    case Act::Burst:
        for (int i = 0; i < 2 + third % 20 && chosen.isThere(); ++i)
            chosen.call(second + (third % 2 == 0 ? i : 0), context(third), third);
        return;
    case Act::BadCall:
        return chosen.badCall(second);
    case Act::SessionCall:
        return chosen.sessionCall(second, context(third), third);
    case Act::SignIn:
        return chosen.signIn(context(third), third);
    case Act::Prepare:
        return chosen.prepare();
    case Act::Cancel:
        return chosen.cancel(second, context(third), third);
    case Act::End:
        return chosen.end();
    case Act::EndLater:
        return chosen.endLater();
    case Act::InAnswer:
        mInAnswers[&chosen].push_back(step);
        return;
    default:
        return;
    }
}

void Schedule::answered(Target& target)
{
    std::deque<Step>& due = mInAnswers[&target];
    if (due.empty())
        return;
    const Step step = due.front();
    due.pop_front();
    inAnswer(target, step.values[1], step.values[2]);
}

// An application may do anything in the function that it is answered in.
void Schedule::inAnswer(Target& target, int what, int which)
{
    constexpr int choices = 9;
    switch (what % choices) {
    case 0:
        return target.end();
    case 1:
        return target.endLater();
    case 2:
        if (Target* const other = this->target(which))
            other->end();
        return;
    case 3:
        return target.call(which, context(which), which);
    case 4:
        return loop(which % 4, which % 5);
    case 5:
        return loop(2, 0); // a message box
    case 6:
        return target.cancel(which, context(which), which);
    case 7:
        return changeContexts(which);
    default:
        target.call(which, context(1), 1);
        target.endLater();
        return;
    }
}

void Schedule::changeContexts(int how)
{
    if (how % 2 == 0 || mContexts.empty()) {
        mContexts.push_back(std::make_unique<QObject>());
        return;
    }
    const std::unique_ptr<QObject> ending = std::move(mContexts.back());
    mContexts.pop_back();
    for (const auto& target : mTargets)
        target->contextEnds(ending.get());
}

void Schedule::letPass(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// What an application does while a dialog is open.
void Schedule::loop(int milliseconds, int steps)
{
    if (mDepth >= deepest)
        return;
    ++mDepth;
    QEventLoop within;
    QTimer::singleShot(0, &within, [this, steps] {
        for (int i = 0; i < steps && mAt < mPlan.steps.size(); ++i)
            perform(mPlan.steps[mAt++]);
    });
    QTimer::singleShot(milliseconds, &within, &QEventLoop::quit);
    within.exec();
    --mDepth;
}

void Schedule::settle()
{
    const auto isSettled = [this] {
        return std::all_of(mTargets.begin(), mTargets.end(),
                           [](const auto& target) { return target->isSettled(); });
    };
    // Calls of a session are made one after the other.
    constexpr int longer = 5;
    const QDeadlineTimer deadline(World::hasSessions() ? longer * patienceMs : patienceMs);
    while (!isSettled() && mProblem.isEmpty() && !deadline.hasExpired())
        letPass(1);
    // Long enough for a second answer that is on its way.
    letPass(0);
}

void Schedule::judge(bool wereAwaited)
{
    for (const auto& target : mTargets) {
        const QString problem = target->problem(wereAwaited);
        if (!problem.isEmpty())
            complain(problem);
    }
}

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
/// What Qt makes when a process first uses its network. Where that is on a client's thread, the
/// application may end before Qt has arranged for it to end, too.
class NetworkConfiguration
{
    QNetworkConfigurationManager mManager;
};
QT_WARNING_POP

/// The application's thread serves, meanwhile.
void runOnAnotherThread(Schedule& schedule)
{
    class Thread : public QThread
    {
    public:
        explicit Thread(Schedule& schedule) : mSchedule(schedule) {}

    private:
        void run() override
        {
            mSchedule.run();
            handOver();
        }

        Schedule& mSchedule;
    };
    Thread thread(schedule);
    QEventLoop loop;
    QObject::connect(&thread, &QThread::finished, &loop, &QEventLoop::quit);
    thread.start();
    loop.exec();
    thread.wait();
    handOver();
}

QString runInApplication(const Plan& plan, const Documented& documented)
{
    static char name[] = "schedules";
    static char* arguments[] = {name, nullptr};
    static int count = 1;
    std::unique_ptr<QCoreApplication> application;
    if (!QCoreApplication::instance())
        application = std::make_unique<QCoreApplication>(count, arguments);
    const NetworkConfiguration settled;
    auto world = World::make();
    Schedule schedule(plan, *world, documented);
    if (plan.isOnAnotherThread)
        runOnAnotherThread(schedule);
    else
        schedule.run();
    for (const QString& problem : world->problems())
        schedule.complain(problem);
    world.reset();
    if (application) {
        application.reset();
        if (plan.endsWithApplication)
            schedule.endAfterApplication();
    }
    return schedule.problem();
}

} // namespace

QString prepareToRun()
{
    Messages::take();
    LiveObjects::watch();
    const QString problem = World::prepare();
    return problem.isEmpty() ? missingOperations() : problem;
}

void warmUp(const Plan& plan, const Documented& documented)
{
    runInApplication(plan, documented);
    World::calm();
    Messages::problem();
}

QString run(const Plan& plan, const Documented& documented)
{
    const Leftovers leftovers;
    QString problem = runInApplication(plan, documented);
    const QString unrest = World::calm();
    for (const QString& other : {Messages::problem(), unrest}) {
        if (problem.isEmpty())
            problem = other;
    }
    return problem.isEmpty() ? leftovers.problem() : problem;
}

Plan shrunk(const Plan& plan, const Documented& documented)
{
    // It is known that something will be missing.
    constexpr int littleMs = 1000;
    patienceMs = littleMs;
    Leftovers::haveLessPatience();
    // What depends on the moment may go wrong at the second time only.
    const auto goesWrong = [&documented](const Plan& one) {
        constexpr int tries = 3;
        for (int i = 0; i < tries; ++i) {
            if (!run(one, documented).isEmpty())
                return true;
        }
        return false;
    };
    Plan least = plan;
    for (size_t some = least.steps.size() / 2; some > 0; some /= 2) {
        for (size_t at = 0; at + some <= least.steps.size();) {
            Plan fewer = least;
            const auto begin = fewer.steps.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.steps.erase(begin, begin + static_cast<std::ptrdiff_t>(some));
            if (goesWrong(fewer))
                least = fewer;
            else
                at += some;
        }
    }
    return least;
}

} // namespace Schedules
