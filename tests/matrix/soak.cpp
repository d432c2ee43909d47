// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/soak.h"

#include "account/facaderecorder.h"
#include "client/clientcalls.h"
#include "matrix/batch.h"
#include "matrix/call.h"
#include "matrix/faults.h"
#include "matrix/loopwatch.h"
#include "matrix/seams.h"
#include "matrix/sessionprocesses.h"
#include "matrix/soakpoint.h"
#include "operations/facadecalls.h"
#include "support/literals.h"
#include "support/liveobjects.h"

#include <kelaccount/client.h>
#include <kelaccount/flightrecorder.h>
#include <kelaccount/kelaccounts.h>

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <memory>

using namespace KelTest;
using KelAccount::Client;
using KelAccount::KelAccounts;

namespace Matrix {

namespace {

// What the guard ends is answered, and says so.
constexpr int patienceMs = longGuardMs + 30000;
constexpr int pointCount = 40;
constexpr int portionsOfARound = 20; ///< of which one meets a fault
constexpr int wellSlot = 0;
constexpr int faultySlot = 1;

/// Those that end at once: what has to wait for something shows nothing more by being repeated.
QVector<int> quickFaults()
{
    QVector<int> quick;
    for (size_t i = 0; i < faults().size(); ++i) {
        const Fault& fault = faults()[i];
        const bool isSlow = fault.waits || fault.alone || fault.kind == Kind::Slow ||
                            fault.name == "proxy-closes" || fault.name == "proxy-resets" ||
                            fault.name == "proxy-half";
        if (isOfTheNetwork(fault.kind) && !isSlow)
            quick.append(static_cast<int>(i));
    }
    return quick;
}

/// An application with both doors, and what they were answered.
class Application
{
public:
    explicit Application(int server)
    {
        mClient.initialize("key"_s, "planted-secret"_s, static_cast<KelAccount::Server>(server),
                           "shop"_s);
        mAccounts.initialize("key"_s, "planted-secret"_s, server, "shop"_s, {});
        mRecorder.clear();
    }

    void ask(const ClientCall& call) { call.make(mClient, mAnswers, &mContext); }
    void ask(const facadecalls::Operation& call) { call.call(mAccounts); }
    void signIn()
    {
        mAnswers.expect(mClient.signInAndConfigure("bob"_s, passwordAfter(0)), &mContext);
    }
    void signOut() { mAnswers.expect(mClient.signOut(), &mContext); }

    /// Since forget().
    int answers() const { return mAnswers.lines.size() + facadesAnswers().size(); }
    QStringList failures() const
    {
        static const QRegularExpression well("\\(0[,)]"_s);
        QStringList all = mAnswers.lines.filter(" failed: "_s);
        const QStringList lines = facadesAnswers();
        for (const QString& line : lines) {
            if (!line.contains(well))
                all.append(line);
        }
        return all;
    }
    void forget()
    {
        mAnswers.lines.clear();
        mRecorder.clear();
    }

private:
    /// The picture's first signal is followed by the second.
    QStringList facadesAnswers() const
    {
        QStringList all;
        for (const QString& line : mRecorder.lines()) {
            if (!line.startsWith("captchaImageResponse("_s))
                all.append(line);
        }
        return all;
    }

    Client mClient;
    KelAccounts mAccounts;
    FacadeRecorder mRecorder{&mAccounts};
    Answers mAnswers;
    QObject mContext;
};

class Soaking
{
public:
    explicit Soaking(QString kind) : mKind(std::move(kind)) { mSince.start(); }

    /// In rounds, until there are so many. `ask` makes one call, with its number.
    bool run(qint64 calls, int portion, Application& well, Application& faulty, int slot,
             const std::function<void(Application&, qint64)>& ask)
    {
        const QVector<int> all = quickFaults();
        const qint64 each = std::max<qint64>(1, calls / pointCount);
        while (mCalls < calls) {
            for (int i = 1; i < portionsOfARound; ++i) {
                if (!round(portion, well, true, ask))
                    return false;
            }
            mFault = all.at(static_cast<int>(mRounds++ % all.size()));
            setFault(slot, mFault);
            const bool isAnswered = round(portion, faulty, false, ask);
            setFault(slot, 0);
            mFault = 0;
            // The service ends the connections that have met a fault.
            if (&well == &faulty)
                waitForConnectionsToEnd(slot);
            if (!isAnswered)
                return false;
            mFaults += portion;
            if (mCalls / each != (mCalls - portion * portionsOfARound) / each)
                say();
        }
        return true;
    }
    /// By other means.
    bool step(Application& who, const std::function<void()>& act)
    {
        who.forget();
        act();
        ++mCalls;
        return isAnswered(who, 1) && isWell(who);
    }
    void say() const
    {
        settle();
        SoakPoint point;
        point.kind = mKind;
        point.calls = mCalls;
        point.faults = mFaults;
        point.milliseconds = mSince.elapsed();
        point.has = Possessions::now();
        std::printf("%s\n", qPrintable(point.line()));
        std::fflush(stdout);
    }

private:
    bool round(int portion, Application& who, bool isToBeWell,
               const std::function<void(Application&, qint64)>& ask)
    {
        who.forget();
        for (int i = 0; i < portion; ++i)
            ask(who, mCalls++);
        return isAnswered(who, portion) && (!isToBeWell || isWell(who));
    }
    bool isAnswered(const Application& who, int count) const
    {
        QElapsedTimer since;
        since.start();
        QTimer waking;
        waking.start(100);
        while (who.answers() < count && since.elapsed() < patienceMs)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        if (who.answers() == count)
            return true;
        std::fprintf(
            stderr, "of %d calls %d were answered%s%s; what is known of the last ones:\n%s\n",
            count, who.answers(), mFault ? " at the fault " : "",
            mFault ? faults()[static_cast<size_t>(mFault)].name.c_str() : "",
            KelAccount::flightRecording(KelAccount::RecordingFormat::TraceEvents).constData());
        return false;
    }
    static bool isWell(const Application& who)
    {
        const QStringList failures = who.failures();
        for (const QString& line : failures)
            std::fprintf(stderr, "without a fault: %s\n", qPrintable(line));
        return failures.isEmpty();
    }
    /// What is deleted later goes, and what is answered twice comes.
    static void settle()
    {
        QElapsedTimer since;
        since.start();
        while (since.elapsed() < 50) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QThread::msleep(1);
        }
    }
    static void setFault(int number, int fault)
    {
        Slot& slot = sharedState()->places[number];
        slot.fault = fault;
        QElapsedTimer since;
        since.start();
        while (slot.listening != fault && since.elapsed() < patienceMs)
            QThread::usleep(200);
    }

    static void waitForConnectionsToEnd(int number)
    {
        QElapsedTimer since;
        since.start();
        while (sharedState()->places[number].connections > 0 && since.elapsed() < patienceMs)
            QThread::usleep(200);
        settle();
    }

    const QString mKind;
    int mFault = 0; ///< under which is asked
    QElapsedTimer mSince;
    qint64 mCalls = 0;
    qint64 mFaults = 0;
    qint64 mRounds = 0;
};

/// Those of the named ones.
QVector<ClientCall> clientCallsNamed(const QVector<facadecalls::Operation>& operations)
{
    QVector<ClientCall> calls;
    for (const ClientCall& call : clientCalls()) {
        for (const facadecalls::Operation& operation : operations) {
            if (qstrcmp(call.name, operation.name) == 0)
                calls.append(call);
        }
    }
    return calls;
}

bool soakService(qint64 count)
{
    constexpr int atOnce = 16;
    const auto operations = facadecalls::ofTheService();
    const auto calls = clientCallsNamed(operations);
    Application well(serverOf(1, wellSlot));
    Application faulty(serverOf(2, faultySlot));
    Soaking soaking("service"_s);
    return soaking.run(count, atOnce, well, faulty, faultySlot, [&](Application& who, qint64 i) {
        // In turns, by client and facade.
        if (i / atOnce % 2 == 0)
            who.ask(calls.at(static_cast<int>(i % calls.size())));
        else
            who.ask(operations.at(static_cast<int>(i % operations.size())));
    });
}

/// Without the named ones.
QVector<facadecalls::Operation> ofTheSessionBut(const QByteArray& names)
{
    QVector<facadecalls::Operation> all;
    for (const facadecalls::Operation& operation : facadecalls::ofTheSession()) {
        if (!names.split(' ').contains(operation.name))
            all.append(operation);
    }
    return all;
}

bool soakSession(qint64 count)
{
    constexpr int atOnce = 2;
    // What changes the user's data can be done once, and a facade keeps each profile for as long as
    // it lives.
    const auto calls = clientCallsNamed(ofTheSessionBut("changePassword userIdUpdate close"));
    const auto operations = ofTheSessionBut("changePassword userIdUpdate close downloadProfile");
    Application application(serverOf(0, wellSlot));
    Soaking setUp("session"_s);
    if (!setUp.step(application, [&] { application.signIn(); }))
        return false;
    Soaking soaking("session"_s);
    return soaking.run(count, atOnce, application, application, wellSlot,
                       [&](Application& who, qint64 i) {
                           if (i / atOnce % 2 == 0)
                               who.ask(calls.at(static_cast<int>(i % calls.size())));
                           else
                               who.ask(operations.at(static_cast<int>(i % operations.size())));
                       }) &&
           setUp.step(application, [&] { application.signOut(); });
}

/// Signs in and out; the daemon's plugins of those that have gone are ended, since it keeps them
/// for minutes.
bool soakSetUps(qint64 count)
{
    Application application(serverOf(0, wellSlot));
    Soaking soaking("set-up"_s);
    const qint64 each = std::max<qint64>(1, count / 2 / pointCount);
    for (qint64 i = 0; i < count / 2; ++i) {
        if (!soaking.step(application, [&] { application.signIn(); }) ||
            !soaking.step(application, [&] { application.signOut(); }))
            return false;
        endPlugins();
        if ((i + 1) % each == 0)
            soaking.say();
    }
    return true;
}

} // namespace

int runSoakInside(int argc, char** argv)
{
    const qint64 service = argc > 2 ? std::atoll(argv[2]) : 0;
    const qint64 session = argc > 3 ? std::atoll(argv[3]) : 0;
    const qint64 setUps = argc > 4 ? std::atoll(argv[4]) : 0;
    LiveObjects::watch();
    return inSession(argc, argv, [&](LoopWatch& /*application*/) {
        sharedState()->guardMs = longGuardMs;
        return soakService(service) && soakSession(session) && soakSetUps(setUps);
    });
}

} // namespace Matrix
