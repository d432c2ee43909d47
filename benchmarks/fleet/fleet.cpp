// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fleet.h"

#include "client/retrywait.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/preparation.h"
#include "rest/transport/serviceconnections.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <utility>

namespace fleet {

namespace {

/// Splitmix64: the same numbers on every machine.
class Random
{
public:
    explicit Random(std::uint64_t seed) : mState(seed) {}

    std::uint64_t next()
    {
        mState += 0x9e3779b97f4a7c15;
        std::uint64_t z = mState;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }

    /// In [0, 1).
    double share() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    double exponential(double mean) { return -mean * std::log1p(-share()); }

private:
    std::uint64_t mState;
};

enum class Outcome { Answered, Refused, Guarded, Unreachable };

enum class Kind { Screen, Opening, Renewal, Attempt, Connection, Request, Outcome };

struct Event
{
    double time;
    std::uint64_t order; ///< of two at the same time
    int handset;
    Kind kind;
    Outcome outcome;
    double asked; ///< by a refusal
};

bool operator>(const Event& a, const Event& b)
{
    return a.time != b.time ? a.time > b.time : a.order > b.order;
}

struct Handset
{
    int callsLeft = 0;
    int tries = 0; ///< of the call
    int renewals = 0;
    double callStarted = 0;
    double attempted = 0;
    double idleSince = 0; ///< of its connection; later than now while it is being opened
    bool isConnected = false;
    bool isCalling = false; ///< an attempt is on its way
    int repeated = 0;       ///< how often the kernel has tried to open its connection
};

class Simulation
{
public:
    explicit Simulation(const Settings& settings);
    Result run();

private:
    Second& second(double time) { return mResult.seconds[static_cast<std::size_t>(time)]; }
    void plan(double time, int handset, Kind kind, Outcome outcome = Outcome::Answered,
              double asked = 0);
    double renewedAfter() const { return 0.75 * mSettings.idleLimit; }
    bool isDown(double time) const;
    bool isFrontUp(double time) const;
    bool isUsable(double now, const Handset& handset) const;

    void openScreen(double now, int handset);
    void prepare(double now, int handset);
    void open(double now, int handset);
    void renew(double now, int handset);
    void attempt(double now, int handset);
    void planForCall(double time, int handset, Kind kind, Outcome outcome = Outcome::Answered,
                     double asked = 0);
    void connect(double now, int handset);
    void request(double now, int handset);
    void end(double now, int handset, Outcome outcome, double asked);
    void tryAgain(double now, int handset, double asked);
    double pause(const Handset& handset, double asked);

    double shakeHands(double now, Handset& handset);
    double asked(double now) const;
    void dropConnection(double now, Handset& handset);
    void breakConnection(double now, Handset& handset);
    void closeBooks();

    const Settings& mSettings;
    Random mRandom;
    std::vector<Handset> mHandsets;
    std::priority_queue<Event, std::vector<Event>, std::greater<Event>> mEvents;
    std::uint64_t mOrder = 0;
    // When each has done all that has arrived.
    double mFrontFreeFrom = 0;
    double mServiceFreeFrom = 0;
    Result mResult;
};

Simulation::Simulation(const Settings& settings)
    : mSettings(settings), mRandom(settings.seed), mHandsets(settings.handsets)
{
    mResult.seconds.resize(static_cast<std::size_t>(settings.end) + 1);
}

void Simulation::plan(double time, int handset, Kind kind, Outcome outcome, double asked)
{
    if (time < mSettings.end)
        mEvents.push({time, mOrder++, handset, kind, outcome, asked});
    else if (kind == Kind::Attempt && mHandsets[handset].tries > 0)
        ++mResult.waiting;
    else if (kind == Kind::Connection || kind == Kind::Request || kind == Kind::Outcome)
        ++mResult.onTheirWay;
}

bool Simulation::isDown(double time) const
{
    return mSettings.outage != Outage::None && time >= mSettings.outageStart &&
           time < mSettings.outageStart + mSettings.outageLength;
}

bool Simulation::isFrontUp(double time) const
{
    return !isDown(time) || mSettings.outage == Outage::Asking ||
           mSettings.outage == Outage::Naming;
}

bool Simulation::isUsable(double now, const Handset& handset) const
{
    return handset.isConnected && now - handset.idleSince < mSettings.idleLimit;
}

Result Simulation::run()
{
    for (int handset = 0; handset < mSettings.handsets; ++handset)
        plan(mRandom.exponential(mSettings.betweenScreens), handset, Kind::Screen);
    while (!mEvents.empty()) {
        const Event event = mEvents.top();
        mEvents.pop();
        switch (event.kind) {
        case Kind::Screen:
            openScreen(event.time, event.handset);
            break;
        case Kind::Opening:
            open(event.time, event.handset);
            break;
        case Kind::Renewal:
            renew(event.time, event.handset);
            break;
        case Kind::Attempt:
            attempt(event.time, event.handset);
            break;
        case Kind::Connection:
            connect(event.time, event.handset);
            break;
        case Kind::Request:
            request(event.time, event.handset);
            break;
        case Kind::Outcome:
            end(event.time, event.handset, event.outcome, event.asked);
            break;
        }
    }
    closeBooks();
    return std::move(mResult);
}

void Simulation::openScreen(double now, int handset)
{
    Handset& self = mHandsets[handset];
    self.callsLeft = mSettings.callsOfScreen;
    self.renewals = mSettings.renewals;
    if (mSettings.isPrepared)
        prepare(now, handset);
    plan(now + mRandom.exponential(mSettings.untilFirstCall), handset, Kind::Attempt);
}

// Before a call needs it. What does not come about is not tried again.
void Simulation::prepare(double now, int handset)
{
    if (isFrontUp(now))
        plan(now + 1.5 * mSettings.roundTrip, handset, Kind::Opening);
}

void Simulation::open(double now, int handset)
{
    Handset& self = mHandsets[handset];
    // A call came first and opened its own.
    if (self.isCalling || !isFrontUp(now))
        return;
    if (isUsable(now, self))
        return;
    dropConnection(now, self);
    if (mFrontFreeFrom - now > mSettings.longestBacklog) {
        ++second(now).notAccepted;
        return;
    }
    ++mResult.prepared;
    self.idleSince = shakeHands(now, self) + mSettings.roundTrip / 2;
    plan(self.idleSince + renewedAfter(), handset, Kind::Renewal);
}

void Simulation::renew(double now, int handset)
{
    Handset& self = mHandsets[handset];
    const bool isStillIdle = now - self.idleSince >= renewedAfter() - 1e-9;
    if (self.isCalling || !self.isConnected || !isStillIdle || self.callsLeft == 0 ||
        self.renewals == 0)
        return;
    --self.renewals;
    dropConnection(now, self);
    prepare(now, handset);
}

void Simulation::attempt(double now, int handset)
{
    Handset& self = mHandsets[handset];
    // A connection that is just being opened is waited for.
    const bool isKept = isUsable(now, self);
    const double leaves = isKept ? std::max(now, self.idleSince) : now;
    if (!isKept)
        dropConnection(now, self);
    if (self.tries++ == 0) {
        ++mResult.calls;
        self.callStarted = now;
    } else {
        ++mResult.again;
    }
    ++second(now).attempts;
    self.attempted = now;
    self.isCalling = true;
    self.repeated = 0;
    if (!isKept) {
        planForCall(now + 1.5 * mSettings.roundTrip, handset, Kind::Connection);
    } else if (isFrontUp(leaves)) {
        planForCall(leaves + mSettings.roundTrip / 2, handset, Kind::Request);
    } else {
        // What carried it is gone: the first to say so is the service's machine, or the guard.
        breakConnection(now, self);
        connect(now, handset);
    }
}

// Whatever would come later than the guard allows does not come.
void Simulation::planForCall(double time, int handset, Kind kind, Outcome outcome, double asked)
{
    const double guarded = mHandsets[handset].attempted + mSettings.guard;
    if (time < guarded)
        plan(time, handset, kind, outcome, asked);
    else
        plan(guarded, handset, Kind::Outcome, Outcome::Guarded);
}

void Simulation::connect(double now, int handset)
{
    Handset& self = mHandsets[handset];
    if (isDown(now) && mSettings.outage == Outage::Unreachable) {
        planForCall(now + mSettings.roundTrip / 2, handset, Kind::Outcome, Outcome::Unreachable);
        return;
    }
    if (isFrontUp(now) && mFrontFreeFrom - now <= mSettings.longestBacklog) {
        const double encrypted = shakeHands(now, self);
        planForCall(encrypted + mSettings.roundTrip, handset, Kind::Request);
        return;
    }
    // The kernel repeats what is not acknowledged, after times that double.
    if (isFrontUp(now))
        ++second(now).notAccepted;
    planForCall(now + std::ldexp(1.0, self.repeated++), handset, Kind::Connection);
}

double Simulation::shakeHands(double now, Handset& handset)
{
    handset.isConnected = true;
    Second& counted = second(now);
    ++counted.connections;
    ++counted.handshakes;
    mFrontFreeFrom = std::max(mFrontFreeFrom, now) + 1 / mSettings.handshakesASecond;
    return mFrontFreeFrom;
}

void Simulation::request(double now, int handset)
{
    Second& counted = second(now);
    ++counted.arrivals;
    const double wait = std::max(0.0, mServiceFreeFrom - now);
    counted.queue = std::max(counted.queue, wait);
    const double back = mSettings.roundTrip / 2;
    if (isDown(now) || wait > mSettings.longestQueue) {
        planForCall(now + back, handset, Kind::Outcome, Outcome::Refused, asked(now));
        return;
    }
    mServiceFreeFrom = now + wait + 1 / mSettings.requestsASecond;
    const double answer = mServiceFreeFrom + back;
    if (answer >= mHandsets[handset].attempted + mSettings.guard)
        ++mResult.wasted;
    planForCall(answer, handset, Kind::Outcome);
}

double Simulation::asked(double now) const
{
    if (isDown(now) && mSettings.outage == Outage::Naming)
        return std::ceil(mSettings.outageStart + mSettings.outageLength - now);
    return mSettings.askedWait;
}

void Simulation::end(double now, int handset, Outcome outcome, double asked)
{
    Handset& self = mHandsets[handset];
    self.isCalling = false;
    Second& counted = second(now);
    switch (outcome) {
    case Outcome::Answered:
        ++counted.answered;
        break;
    case Outcome::Refused:
        ++counted.refused;
        break;
    case Outcome::Guarded:
        ++counted.guarded;
        break;
    case Outcome::Unreachable:
        ++counted.unreachable;
        break;
    }
    if (outcome == Outcome::Answered || outcome == Outcome::Refused)
        self.idleSince = now;
    else
        breakConnection(now, self);
    if (outcome != Outcome::Answered) {
        tryAgain(now, handset, asked);
        return;
    }
    self.tries = 0;
    if (--self.callsLeft > 0) {
        plan(now + mRandom.exponential(mSettings.betweenCalls), handset, Kind::Attempt);
        if (mSettings.isPrepared)
            plan(now + renewedAfter(), handset, Kind::Renewal);
    } else {
        plan(now + mRandom.exponential(mSettings.betweenScreens), handset, Kind::Screen);
    }
}

void Simulation::tryAgain(double now, int handset, double asked)
{
    Handset& self = mHandsets[handset];
    const double next = now + pause(self, asked);
    if (next - self.callStarted <= mSettings.patience) {
        plan(next, handset, Kind::Attempt);
        return;
    }
    ++mResult.givenUp;
    self.tries = 0;
    self.callsLeft = 0;
    plan(now + mRandom.exponential(mSettings.betweenScreens), handset, Kind::Screen);
}

double Simulation::pause(const Handset& handset, double asked)
{
    if (mSettings.again == Again::Fixed)
        return mSettings.ownPause;
    if (asked > 0 && mSettings.again == Again::AsSaid)
        return asked;
    if (asked > 0) {
        const std::chrono::seconds said(static_cast<std::int64_t>(asked));
        const auto random = static_cast<std::uint32_t>(mRandom.next() >> 32);
        return static_cast<double>(KelAccount::suggestedWait(said, random).count());
    }
    if (mSettings.again != Again::Doubling)
        return mSettings.ownPause;
    const double doubled = std::ldexp(mSettings.ownPause, std::min(handset.tries - 1, 30));
    return std::min(doubled, mSettings.longestPause) * (0.5 + mRandom.share());
}

// The service has closed what is idle for long, or the library does when it opens another.
void Simulation::dropConnection(double now, Handset& handset)
{
    const double held = std::min(mSettings.serviceKeepsIdle, mSettings.heldUnused);
    breakConnection(std::min(now, handset.idleSince + held), handset);
}

void Simulation::breakConnection(double now, Handset& handset)
{
    if (!std::exchange(handset.isConnected, false))
        return;
    if (now < mSettings.end)
        --second(now).connections;
    else
        ++mResult.leftOpen;
}

// Connections were counted as differences.
void Simulation::closeBooks()
{
    for (Handset& handset : mHandsets) {
        if (handset.isCalling)
            breakConnection(mSettings.end, handset);
        else
            dropConnection(mSettings.end, handset);
    }
    std::int64_t open = 0;
    for (Second& second : mResult.seconds)
        second.connections = open += second.connections;
}

} // namespace

Settings::Settings()
    : renewals(KelRestHandler::Preparation::usualRenewals),
      idleLimit(KelRestHandler::ServiceConnections::idleMilliseconds / 1000.0),
      guard(KelRestHandler::NetworkReplyContainer::guardMilliseconds() / 1000.0)
{
}

Second Result::sum() const
{
    Second all;
    for (const Second& second : seconds) {
        all.attempts += second.attempts;
        all.arrivals += second.arrivals;
        all.handshakes += second.handshakes;
        all.notAccepted += second.notAccepted;
        all.answered += second.answered;
        all.refused += second.refused;
        all.guarded += second.guarded;
        all.unreachable += second.unreachable;
        all.connections = std::max(all.connections, second.connections);
        all.queue = std::max(all.queue, second.queue);
    }
    return all;
}

Result simulate(const Settings& settings)
{
    return Simulation(settings).run();
}

int secondsUntilCalm(const Settings& settings, const Result& result)
{
    const auto back = static_cast<int>(settings.outageStart + settings.outageLength);
    int last = back - 1;
    const auto count = static_cast<int>(settings.end);
    for (int i = back; i < count; ++i)
        if (result.seconds[i].failures() > 0 || result.seconds[i].queue > 1)
            last = i;
    return last >= count - 1 ? -1 : last + 1 - back;
}

} // namespace fleet
