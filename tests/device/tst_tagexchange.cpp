// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/interruption.h"
#include "device/tagservertrust.h"
#include "device/testtagserver.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/processfacts.h"
#include "support/rows.h"

#include <QTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace KelTest;
using namespace KelRestHandler;

namespace {

constexpr int serverStartMs = 500;
constexpr int limitMs = 1500;
constexpr int queueLimitMs = 600;
// What the library promises of any exchange, however much a busy machine adds to a wait.
constexpr int promisedMs = 10000;

/// Whether one of several is so quick: who waits never is, and a busy machine not each time.
bool isEverQuickerThan(int milliseconds, const std::function<TagOutcome()>& ask)
{
    constexpr int times = 20;
    for (int i = 0; i < times; ++i) {
        if (ask().elapsedMs < milliseconds)
            return true;
    }
    return false;
}

// Interrupts every blocking call of this thread, again and again, while it lives.
class Interruptions
{
public:
    Interruptions()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { count = count + 1; };
        sigaction(SIGALRM, &action, &mBefore);
        const itimerval every = {{0, 20000}, {0, 20000}};
        setitimer(ITIMER_REAL, &every, nullptr);
    }
    ~Interruptions()
    {
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &mBefore, nullptr);
    }
    Q_DISABLE_COPY(Interruptions)

    static volatile std::sig_atomic_t count;

private:
    struct sigaction mBefore = {};
};

volatile std::sig_atomic_t Interruptions::count = 0;

} // namespace

// How servers, started here or not, are treated, and for how long.
class TestTagExchange : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TagServerAddress::setProgram({});
        setStartedServerOptions({});
        PretendedPeer::reset();
    }

    void cleanup()
    {
        // Whatever a test started is gone after it.
        QVERIFY(!hasChildren());
    }

    void aServerIsStartedOnDemandAndEnded()
    {
        setStartedServerOptions("--tag on-demand");
        const TagOutcome outcome = askForTagUntil(0);
        QCOMPARE(outcome.result, 1);
        QCOMPARE(outcome.tag, "on-demand"_ba);
        QVERIFY(outcome.elapsedMs >= serverStartMs);
        QVERIFY(!hasChildren());
        // Its name is free again.
        const int listener = listenAsTagServer(1);
        QVERIFY(listener != -1);
        close(listener);
    }

    void anExchangeThatIsInterruptedEndsAndNobodyIsToBlame()
    {
        Interruption interruption;
        const Interruption::Scope scope(interruption);
        std::atomic<bool> leftInPeace{false};
        const ThreadTagServer server([&](int connection) {
            interruption.request();
            char byte = 0;
            // Ends when the client hangs up.
            while (recv(connection, &byte, 1, 0) > 0) {
            }
            leftInPeace = true;
        });
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.error, 0x2005U);
        QTRY_VERIFY_WITH_TIMEOUT(leftInPeace, onABusyMachine);
        QVERIFY(Interruption::isRequested());
        interruption.clear();
        QVERIFY(!hasTagServerHungLately());
    }

    void aServerThatIsBeingStartedIsNotWaitedForAnyMore()
    {
        Interruption interruption;
        interruption.request();
        const Interruption::Scope scope(interruption);
        setStartedServerOptions("--hang");
        bool isAnswered = false;
        QVERIFY(isEverQuickerThan(serverStartMs, [&isAnswered] {
            const TagOutcome outcome = askForTag();
            isAnswered = isAnswered || outcome.result != 0;
            return outcome;
        }));
        QVERIFY(!isAnswered);
    }

    void otherThreadsWaitAsIfNothingWere()
    {
        Interruption interruption;
        interruption.request();
        QVERIFY(!Interruption::isRequested());
        QCOMPARE(Interruption::descriptor(), -1);
    }

    void aServerThatCannotBeExecutedIsReported()
    {
        TagServerAddress::setProgram("/nonexistent/tag-server");
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, 0);
        QCOMPARE(outcome.error, 0x2006U);
        QVERIFY(outcome.elapsedMs >= serverStartMs);
    }

    void aServerThatDoesNotListenIsEnded()
    {
        // Listens, but not where it is looked for.
        qputenv("KELACCOUNT_TAG_SERVER_OPTIONS",
                "--die-with-parent --name elsewhere-" + TagServerAddress::socketName());
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, 0);
        QCOMPARE(outcome.error, 0x2006U);
        QCOMPARE(outcome.length, 0U);
    }

    // Whatever was started is gone afterwards.
    void whatAServerDoesIsToldInTime_data()
    {
        const auto row = rows<QByteArray, bool, uint, int, int>("options", "isRunning", "error",
                                                                "atLeastMs", "lessThanMs");
        // The half second of its start is part of the time that it has.
        row("started, hangs", "--hang", false, 0x2005U, limitMs - 50, promisedMs);
        row("started, refuses", "--refuse 0x89ABCDEF", false, 0x89ABCDEFU, 0, promisedMs);
        row("started, dies", "--die-after-accept", false, 0x2005U, 0, promisedMs);
        row("running, hangs", "--hang", true, 0x2005U, limitMs - 50, promisedMs);
        row("running, slow", "--slow 300", true, 0U, 300, promisedMs);
        row("running, dies", "--die-after-accept", true, 0x2005U, 0, promisedMs);
    }
    void whatAServerDoesIsToldInTime()
    {
        const auto [options, isRunning, error, atLeastMs, lessThanMs] =
            fetch<QByteArray, bool, uint, int, int>("options", "isRunning", "error", "atLeastMs",
                                                    "lessThanMs");
        std::unique_ptr<RunningTagServer> server;
        if (isRunning) {
            server = std::make_unique<RunningTagServer>(
                QString::fromLatin1(options).split(QLatin1Char(' ')));
            QVERIFY(server->isReady());
        } else {
            setStartedServerOptions(options);
        }
        const TagOutcome outcome = askForTagUntil(error);
        QCOMPARE(outcome.result, error == 0 ? 1 : 0);
        QCOMPARE(outcome.error, error);
        QCOMPARE(outcome.tag, error == 0 ? "emulated service tag"_ba : QByteArray());
        QVERIFY2(outcome.elapsedMs >= atLeastMs && outcome.elapsedMs < lessThanMs,
                 QByteArray::number(outcome.elapsedMs));
        if (isRunning && !options.contains("die"))
            QVERIFY(server->isAlive());
    }

    void aRunningServerStaysAlive()
    {
        RunningTagServer server({"--tag"_s, "running"_s});
        QVERIFY(server.isReady());
        // So that none can be started beside it.
        TagServerAddress::setProgram("/nonexistent/tag-server");
        for (int i = 0; i < 3; ++i) {
            const TagOutcome outcome = askForTagUntil(0);
            QCOMPARE(outcome.result, 1);
            QCOMPARE(outcome.tag, "running"_ba);
            QVERIFY(server.isAlive());
        }
    }

    void aServerThatDribblesIsReadOnce()
    {
        ThreadTagServer server([](int connection) {
            // The rest would come when the client has hung up.
            char bytes[4096];
            if (send(connection, "\x01", 1, MSG_NOSIGNAL) != 1)
                return;
            while (recv(connection, bytes, sizeof bytes, 0) > 0) {
            }
        });
        QVERIFY(server.isReady());
        QVERIFY(isEverQuickerThan(limitMs - 50, [] {
            PretendedPeer::reset();
            return askForTag();
        }));
        const TagOutcome outcome = askForTagUntil(0);
        QCOMPARE(outcome.result, 1);
        QCOMPARE(outcome.length, 0U);
    }

    void aServerWithAFullQueueIsGivenUp()
    {
        const int listener = listenAsTagServer(0);
        QVERIFY(listener != -1);
        // Nobody accepts these.
        QByteArray name = TagServerAddress::socketName();
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, name.constData(), static_cast<size_t>(name.size()));
        const auto size = static_cast<socklen_t>(sizeof address.sun_family + 1U +
                                                 static_cast<unsigned>(name.size()));
        QVector<int> waiting;
        for (;;) {
            waiting.append(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            if (::connect(waiting.last(), reinterpret_cast<sockaddr*>(&address), size) == -1)
                break;
        }
        QCOMPARE(errno, EAGAIN);

        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, 0);
        QCOMPARE(outcome.error, 0x2005U);
        QVERIFY2(outcome.elapsedMs >= queueLimitMs - 50 && outcome.elapsedMs < promisedMs,
                 QByteArray::number(outcome.elapsedMs));
        // The next one is not held up again.
        QVERIFY(isEverQuickerThan(queueLimitMs - 50, [] { return askForTag(); }));
        // But a minute later, and not for as long as an exchange may take.
        QVERIFY(isEverQuickerThan(limitMs - 50, [] {
            PretendedPeer::reset();
            return askForTag();
        }));
        for (const int descriptor : qAsConst(waiting))
            close(descriptor);
        close(listener);
    }

    void aServerThatHangsUpAtOnceRaisesNoSignal()
    {
        // Reading of the connection is over before it has begun, so the request may meet a dead
        // end.
        ThreadTagServer server([](int) {});
        QVERIFY(server.isReady());
        static volatile std::sig_atomic_t signalsRaised = 0;
        struct sigaction action = {};
        struct sigaction before = {};
        action.sa_handler = [](int) { signalsRaised = signalsRaised + 1; };
        sigaction(SIGPIPE, &action, &before);
        int reported = 0;
        for (int i = 0; i < 500; ++i)
            reported += askForTag().error == 0x2005U ? 1 : 0;
        sigaction(SIGPIPE, &before, nullptr);
        QCOMPARE(reported, 500);
        QCOMPARE(static_cast<int>(signalsRaised), 0);
    }

    void signalsNeitherShortenNorLengthenAnExchange()
    {
        Interruptions::count = 0;
        {
            const Interruptions interruptions;
            const TagOutcome started = askForTagUntil(0);
            QCOMPARE(started.result, 1);
            QVERIFY2(started.elapsedMs >= serverStartMs, QByteArray::number(started.elapsedMs));
            QVERIFY(started.elapsedMs < promisedMs);
        }
        QVERIFY(Interruptions::count > 1);

        RunningTagServer server({"--hang"_s});
        QVERIFY(server.isReady());
        const Interruptions interruptions;
        const TagOutcome hanging = askForTag();
        QCOMPARE(hanging.error, 0x2005U);
        QVERIFY2(hanging.elapsedMs >= limitMs - 50 && hanging.elapsedMs < promisedMs,
                 QByteArray::number(hanging.elapsedMs));
    }

    void childrenOfTheApplicationAreLeftAlone()
    {
        const pid_t ended = fork();
        if (ended == 0)
            _exit(7);
        const pid_t running = fork();
        if (running == 0) {
            pause();
            _exit(0);
        }
        siginfo_t info;
        QCOMPARE(waitid(P_PID, static_cast<id_t>(ended), &info, WEXITED | WNOWAIT), 0);

        QCOMPARE(askForTagUntil(0).result, 1);
        setStartedServerOptions("--refuse 5");
        QCOMPARE(askForTagUntil(5).error, 5U);

        int status = 0;
        QCOMPARE(waitpid(running, &status, WNOHANG), 0);
        QCOMPARE(waitpid(ended, &status, WNOHANG), ended);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 7);
        QVERIFY(running > 0);
        QCOMPARE(kill(running, SIGKILL), 0);
        QCOMPARE(waitpid(running, &status, 0), running);
        QCOMPARE(WTERMSIG(status), SIGKILL);
    }

    void aThousandExchangesLeaveNothingBehind()
    {
        {
            RunningTagServer server;
            QVERIFY(server.isReady());
            const int before = openDescriptors();
            for (int i = 0; i < 1000; ++i)
                QCOMPARE(askForTagUntil(0).result, 1);
            QCOMPARE(openDescriptors(), before);
            QVERIFY(server.isAlive());
        }
        QVERIFY(!hasChildren());

        const int before = openDescriptors();
        QCOMPARE(askForTagUntil(0).result, 1);
        setStartedServerOptions("--die-after-accept");
        QCOMPARE(askForTagUntil(0x2005).error, 0x2005U);
        QCOMPARE(openDescriptors(), before);
    }
};

QTEST_GUILESS_MAIN(TestTagExchange)
#include "tst_tagexchange.moc"
