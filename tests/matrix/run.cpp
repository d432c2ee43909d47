// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/run.h"

#include "matrix/device.h"
#include "matrix/loopwatch.h"
#include "matrix/peak.h"
#include "matrix/seams.h"
#include "matrix/sessionprocesses.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QThread>
#include <QTimer>

#include <algorithm>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int together = 40;
// Long enough for a second answer to the same call.
constexpr int settleMs = 30;
constexpr int endOfConnectionsMs = 5000;
constexpr int wakingMs = 5;
constexpr int patienceMs = 60000;

const Fault& faultAt(int row)
{
    return faults()[static_cast<size_t>(row)];
}

/// Whether an address that was looked up before would pass the fault by.
bool isOfTheName(Kind kind)
{
    return kind >= Kind::NameUnknown && kind <= Kind::Dropped;
}

} // namespace

Run::Run(LoopWatch& watch, Done done) : mWatch(watch), mDone(std::move(done)), mState(sharedState())
{
}

void Run::add(const Row& row, int fault)
{
    Job job;
    job.row = row;
    job.fault = fault;
    const Fault& what = faultAt(fault);
    job.cell.door = row.door;
    job.cell.operation = row.name;
    job.cell.group = QString::fromStdString(what.group);
    job.cell.fault = QString::fromStdString(what.name);
    mJobs.push_back(std::move(job));
}

bool Run::all()
{
    // Those beside one another have the same guard, and none of them is alone.
    std::stable_sort(mJobs.begin(), mJobs.end(), [](const Job& a, const Job& b) {
        const auto key = [](const Job& job) {
            const Fault& fault = faultAt(job.fault);
            const int clock = fault.kind == Kind::Clock ? job.fault : 0; // everybody's
            return std::make_tuple(isOfTheDevice(job.row), fault.alone, fault.waits, clock);
        };
        return key(a) < key(b);
    });
    size_t at = 0;
    while (at < mJobs.size()) {
        std::vector<Job> jobs;
        const Job& first = mJobs[at];
        const bool isAlone = isOfTheDevice(first.row) || faultAt(first.fault).alone;
        const auto isBeside = [](const Fault& one, const Fault& other) {
            return !other.alone && one.waits == other.waits && one.kind != Kind::Clock &&
                   other.kind != Kind::Clock;
        };
        const int fault = first.fault;
        do {
            jobs.push_back(std::move(mJobs[at++]));
        } while (!isAlone && at < mJobs.size() && jobs.size() < together &&
                 !isOfTheDevice(mJobs[at].row) &&
                 (mJobs[at].fault == fault || isBeside(faultAt(fault), faultAt(mJobs[at].fault))));
        if (!runTogether(jobs))
            return false;
    }
    mJobs.clear();
    return true;
}

int Run::serverFor(const Job& job)
{
    const bool keepsItsName = isOfTheDevice(job.row) && !isOfTheName(faultAt(job.fault).kind);
    return serverOf(keepsItsName ? 0 : ++mCells, job.slot);
}

bool Run::prepare(Job& job)
{
    job.server = serverFor(job);
    job.caller = Caller::make(job.row, job.server);
    if (!isOfTheDevice(job.row))
        return true;
    setGuard(longGuardMs);
    const bool needsAccount = job.row.needs == Needs::Session || job.row.name == "signOut"_s;
    if (needsAccount && mSignedIn == job.server)
        return true;
    mSignedIn = -1;
    if (!Device::clean())
        return false;
    return !needsAccount || signIn(job);
}

bool Run::signIn(Job& job)
{
    job.caller->signIn();
    if (!waitFor([&] { return job.caller->answers() > 0; }, patienceMs) ||
        job.caller->status() != "0"_s) {
        qWarning("cannot sign in: %s", qPrintable(job.caller->status()));
        return false;
    }
    mSignedIn = job.server;
    // The plugin's process knows the address for a minute.
    if (isOfTheName(faultAt(job.fault).kind)) {
        job.caller.reset();
        endDaemon();
        job.caller = Caller::make(job.row, job.server);
    }
    return true;
}

bool Run::breakTheWorld(std::vector<Job>& jobs)
{
    const Fault& fault = faultAt(jobs.front().fault);
    setGuard(fault.waits ? shortGuardMs : longGuardMs);
    if (fault.kind == Kind::Clock) {
        const auto wanted = QDateTime::fromString(QString::fromStdString(fault.bytes), Qt::ISODate);
        mState->clockSeconds = wanted.toSecsSinceEpoch() - QDateTime::currentSecsSinceEpoch();
    }
    for (Job& job : jobs) {
        if (fault.kind == Kind::Here) {
            job.breakage = Breakage::make(fault.bytes);
            if (!job.breakage || !job.breakage->begin()) {
                qWarning("%s cannot be had", fault.name.c_str());
                return false;
            }
        }
        setFault(job, job.fault);
    }
    return true;
}

bool Run::mendTheWorld(std::vector<Job>& jobs)
{
    setGuard(longGuardMs);
    mState->clockSeconds = 0;
    for (Job& job : jobs) {
        if (job.breakage && !faultAt(job.fault).isForGood && !job.breakage->end()) {
            qWarning("%s does not go away", faultAt(job.fault).name.c_str());
            return false;
        }
        setFault(job, 0);
    }
    // What comes next is not to meet the ends of the connections from before.
    waitFor(
        [&] {
            return std::all_of(jobs.begin(), jobs.end(), [this](const Job& job) {
                return mState->places[job.slot].connections == 0;
            });
        },
        endOfConnectionsMs);
    letPass(settleMs);
    return true;
}

bool Run::haveAnswered(std::vector<Job>& jobs)
{
    for (Job& job : jobs) {
        Slot& slot = mState->places[job.slot];
        if (!job.breakage || slot.hits == 0 || slot.isReleased != 0)
            continue;
        // Who needs nothing of the device has nothing to wait for.
        if (isOfTheDevice(job.row))
            job.breakage->onAsked();
        if (isOfTheDevice(job.row) && !job.breakage->hasHappened())
            continue;
        slot.isReleased = isOfTheDevice(job.row) ? 1 : 2;
    }
    return std::all_of(jobs.begin(), jobs.end(),
                       [](Job& job) { return job.caller->answers() > 0; });
}

bool Run::runTogether(std::vector<Job>& jobs)
{
    int slot = 0;
    for (Job& job : jobs) {
        job.slot = slot++;
        if (!prepare(job))
            return false;
    }
    if (!breakTheWorld(jobs))
        return false;
    const qint64 before = forgetPeak();
    mWatch.reset();
    for (Job& job : jobs)
        job.caller->call();
    waitFor([&] { return haveAnswered(jobs); }, 2 * boundMs(jobs.back().row, mState->guardMs));
    letPass(settleMs);
    const qint64 stall = mWatch.longestStall();
    const qint64 most = peak();
    for (Job& job : jobs) {
        Cell& cell = job.cell;
        cell.answers = job.caller->answers();
        cell.status = cell.answers > 0 ? job.caller->status() : "none"_s;
        cell.tookMs = job.caller->took();
        cell.stallUs = stall;
        cell.memoryKiB = qMax<qint64>(0, most - before);
        cell.hits = job.breakage ? job.breakage->met() : mState->places[job.slot].hits.load();
    }
    if (!mendTheWorld(jobs))
        return false;
    callAgain(jobs);
    for (Job& job : jobs) {
        job.caller.reset();
        mDone(job.cell);
    }
    return true;
}

void Run::callAgain(std::vector<Job>& jobs)
{
    const bool isPossible = !faultAt(jobs.front().fault).isForGood;
    if (isPossible)
        askAgain(jobs);
    for (Job& job : jobs) {
        const int answers = job.caller->answers();
        job.cell.next = !isPossible    ? notAsked
                        : answers == 1 ? job.caller->status()
                        : answers == 0 ? "none"_s
                                       : "%1 answers"_s.arg(answers);
        if (isPossible && job.row.name == "changePassword"_s && job.cell.status == "0"_s &&
            job.cell.next != "0"_s)
            job.cell.next += " ("_s + afterSigningInAnew(job) + ")"_s;
        const bool isChanged = job.row.needs == Needs::SetUp ||
                               job.row.name == "changePassword"_s ||
                               job.row.name == "userIdUpdate"_s || job.breakage;
        if (isChanged || job.cell.next != "0"_s)
            mSignedIn = -1;
    }
}

void Run::askAgain(std::vector<Job>& jobs)
{
    for (Job& job : jobs)
        job.caller->call();
    waitFor([&] { return haveAnswered(jobs); }, patienceMs);
    letPass(settleMs);
}

// What a user does who is not let in any more.
QString Run::afterSigningInAnew(Job& job)
{
    QStringList statuses;
    for (const auto act : {&Caller::signOut, &Caller::signInAnew, &Caller::call}) {
        (*job.caller.*act)();
        waitFor([&] { return job.caller->answers() > 0; }, patienceMs);
        letPass(settleMs);
        statuses.append(job.caller->answers() == 1 ? job.caller->status() : "none"_s);
    }
    mSignedIn = -1;
    return statuses.join(QLatin1Char('/'));
}

void Run::setFault(const Job& job, int fault)
{
    Slot& slot = mState->places[job.slot];
    slot.hits = 0;
    slot.isReleased = 0;
    slot.fault = fault;
    QElapsedTimer since;
    since.start();
    // And the connections from before, which would lead past it.
    while ((slot.listening != fault || (fault != 0 && slot.connections > 0)) &&
           since.elapsed() < patienceMs)
        QThread::usleep(200);
}

void Run::setGuard(int milliseconds)
{
    mState->guardMs = milliseconds;
    KelRestHandler::NetworkReplyContainer::setGuardMilliseconds(milliseconds);
}

bool Run::waitFor(const std::function<bool()>& condition, int milliseconds)
{
    QElapsedTimer since;
    since.start();
    QTimer waking; // what is waited for need not be an event
    waking.start(wakingMs);
    while (!condition()) {
        if (since.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

void Run::letPass(int milliseconds)
{
    QElapsedTimer since;
    since.start();
    waitFor([&] { return since.elapsed() >= milliseconds; }, milliseconds + patienceMs);
}

} // namespace Matrix
