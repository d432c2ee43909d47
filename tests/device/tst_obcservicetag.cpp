// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcservicetag.h"
#include "device/testtagserver.h"

#include <QElapsedTimer>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace KelTest;

namespace {

constexpr int serverStartMs = 500;
constexpr int limitMs = 1500;
// What a loaded machine may add to a wait.
constexpr int slackMs = 900;

struct Outcome
{
    int result = -1;
    unsigned error = 0;
    unsigned length = 77;
    QByteArray tag;
    qint64 elapsedMs = 0;
};

Outcome ask(const QByteArray& key = "some key", int capacity = 3000)
{
    Outcome outcome;
    QByteArray buffer(5000, '\x5A');
    QElapsedTimer timer;
    timer.start();
    outcome.result = ObC_ServiceTag(key.constData(), static_cast<unsigned>(key.size()),
                                    buffer.data(), &outcome.length, capacity, &outcome.error);
    outcome.elapsedMs = timer.elapsed();
    outcome.tag = buffer.left(static_cast<int>(outcome.length));
    return outcome;
}

// Leaves no descriptor free while it lives.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        const int next = dup(STDIN_FILENO);
        close(next);
        const rlimit none = {static_cast<rlim_t>(next), mBefore.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
    Q_DISABLE_COPY(NoDescriptors)

private:
    rlimit mBefore = {};
};

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

class TestObcServiceTag : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anErrorOnEntryTouchesNothing();
    void aNullErrorIsRefused();
    void aNullArgumentIsReported_data();
    void aNullArgumentIsReported();
    void aKeyOf501BytesFailsBeforeAnySocketIsMade();
    void aMissingSocketIsReported();

    void theFrameIsWrittenAsOnTheWire_data();
    void theFrameIsWrittenAsOnTheWire();
    void theReplyIsReadAsOnTheWire_data();
    void theReplyIsReadAsOnTheWire();
    void aReplyOfAnySizeFitsOrIsDropped_data();
    void aReplyOfAnySizeFitsOrIsDropped();
    void aTagAsLongAsTheBufferIsDropped_data();
    void aTagAsLongAsTheBufferIsDropped();

    void aServerIsStartedOnDemandAndEnded();
    void aServerThatCannotBeExecutedIsReported();
    void aServerThatDoesNotListenIsEnded();
    void aStartedServerThatRefusesIsEnded();
    void aStartedServerThatHangsIsEnded();
    void aStartedServerThatDiesIsReaped();

    void aRunningServerStaysAlive();
    void aSlowServerIsWaitedFor();
    void aRunningServerThatHangsIsGivenUp();
    void aRunningServerThatDiesIsReported();
    void aServerThatDribblesIsReadOnce();
    void aServerWithAFullQueueIsGivenUp();
    void aServerThatHangsUpAtOnceRaisesNoSignal();

    void signalsNeitherShortenNorLengthenAnExchange();
    void childrenOfTheApplicationAreLeftAlone();
    void aThousandExchangesLeaveNothingBehind();
};

void TestObcServiceTag::init()
{
    TagServerAddress::setProgram({});
    setStartedServerOptions({});
}

void TestObcServiceTag::cleanup()
{
    // Whatever a test started is gone after it.
    QVERIFY(!hasChildren());
}

void TestObcServiceTag::anErrorOnEntryTouchesNothing()
{
    char tag[8] = "before";
    unsigned length = 77;
    unsigned error = 1;
    QCOMPARE(ObC_ServiceTag("key", 3, tag, &length, sizeof tag, &error), 0);
    QCOMPARE(error, 1U);
    QCOMPARE(length, 77U);
    QCOMPARE(tag, "before");
}

void TestObcServiceTag::aNullErrorIsRefused()
{
    char tag[8] = "before";
    unsigned length = 77;
    QCOMPARE(ObC_ServiceTag("key", 3, tag, &length, sizeof tag, nullptr), 0);
    QCOMPARE(length, 77U);
}

void TestObcServiceTag::aNullArgumentIsReported_data()
{
    QTest::addColumn<bool>("withKey");
    QTest::addColumn<bool>("withTag");
    QTest::addColumn<bool>("withLength");
    QTest::newRow("no key") << false << true << true;
    QTest::newRow("no tag buffer") << true << false << true;
    QTest::newRow("no tag length") << true << true << false;
    QTest::newRow("nothing") << false << false << false;
}

void TestObcServiceTag::aNullArgumentIsReported()
{
    QFETCH(bool, withKey);
    QFETCH(bool, withTag);
    QFETCH(bool, withLength);
    ThreadTagServer server(QByteArray("\x01tag"));
    QVERIFY(server.isReady());
    char tag[8];
    unsigned length = 77;
    unsigned error = 0;
    // A length that is too long as well: a null pointer is the first thing looked for.
    QCOMPARE(ObC_ServiceTag(withKey ? "key" : nullptr, 501, withTag ? tag : nullptr,
                            withLength ? &length : nullptr, sizeof tag, &error),
             0);
    QCOMPARE(error, 0x2001U);
    QCOMPARE(length, withLength ? 0U : 77U);
    QCOMPARE(server.connections(), 0);
}

void TestObcServiceTag::aKeyOf501BytesFailsBeforeAnySocketIsMade()
{
    const QByteArray key(501, 'k');
    char tag[8];
    unsigned length = 77;
    unsigned error = 0;
    int result = -1;
    {
        const NoDescriptors none;
        result = ObC_ServiceTag(key.constData(), 501, tag, &length, sizeof tag, &error);
    }
    QCOMPARE(result, 0);
    QCOMPARE(error, 0x2002U);
    QCOMPARE(length, 0U);
}

void TestObcServiceTag::aMissingSocketIsReported()
{
    char tag[8];
    unsigned length = 77;
    unsigned error = 0;
    int result = -1;
    {
        const NoDescriptors none;
        result = ObC_ServiceTag("key", 3, tag, &length, sizeof tag, &error);
    }
    QCOMPARE(result, 0);
    QCOMPARE(error, 0x2003U);
    QCOMPARE(length, 0U);
}

void TestObcServiceTag::theFrameIsWrittenAsOnTheWire_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("head");
    QTest::newRow("10 bytes") << QByteArray("0123456789") << QByteArray::fromHex("00C3000D30000A");
    QTest::newRow("no byte") << QByteArray("") << QByteArray::fromHex("00C30003300000");
    QTest::newRow("253 bytes") << QByteArray(253, 'a') << QByteArray::fromHex("00C301003000FD");
    QTest::newRow("500 bytes") << QByteArray(500, 'z') << QByteArray::fromHex("00C301F73001F4");
}

void TestObcServiceTag::theFrameIsWrittenAsOnTheWire()
{
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, head);
    ThreadTagServer server(QByteArray("\x01tag"));
    QVERIFY(server.isReady());
    const Outcome outcome = ask(key);
    QCOMPARE(outcome.result, 1);
    QCOMPARE(outcome.error, 0U);
    QCOMPARE(outcome.tag, QByteArray("tag"));
    QCOMPARE(server.frames(), QByteArrayList{head + key});
}

void TestObcServiceTag::theReplyIsReadAsOnTheWire_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("result");
    QTest::addColumn<unsigned>("error");
    QTest::addColumn<QByteArray>("tag");
    const auto hex = [](const char* digits) { return QByteArray::fromHex(digits); };
    QTest::newRow("failure like a client's") << hex("0000002001") << 0 << 0x2001U << QByteArray();
    QTest::newRow("big-endian failure") << hex("0001020304") << 0 << 0x01020304U << QByteArray();
    QTest::newRow("largest failure") << hex("00FFFFFFFF") << 0 << 0xFFFFFFFFU << QByteArray();
    QTest::newRow("failure and more") << hex("00000000070908") << 0 << 7U << QByteArray();
    QTest::newRow("failure without number") << hex("00") << 0 << 0U << QByteArray();
    QTest::newRow("failure with half a number")
        << hex("000102") << 0 << 0x01020000U << QByteArray();
    QTest::newRow("status 1 alone") << hex("01") << 1 << 0U << QByteArray();
    QTest::newRow("status 255 alone") << hex("FF") << 1 << 0U << QByteArray();
    QTest::newRow("status 128 and tag") << hex("80616200FF") << 1 << 0U << hex("616200FF");
    QTest::newRow("closed without reply") << QByteArray() << 0 << 0x2005U << QByteArray();
}

void TestObcServiceTag::theReplyIsReadAsOnTheWire()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, result);
    QFETCH(unsigned, error);
    QFETCH(QByteArray, tag);
    ThreadTagServer server(reply);
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, result);
    QCOMPARE(outcome.error, error);
    QCOMPARE(outcome.length, static_cast<unsigned>(tag.size()));
    QCOMPARE(outcome.tag, tag);
}

void TestObcServiceTag::aReplyOfAnySizeFitsOrIsDropped_data()
{
    QTest::addColumn<int>("replyBytes");
    QTest::addColumn<int>("tagBytes");
    QTest::newRow("1") << 1 << 0;
    QTest::newRow("2") << 2 << 1;
    QTest::newRow("2999") << 2999 << 2998;
    QTest::newRow("3000") << 3000 << 2999;
    QTest::newRow("3001") << 3001 << 0;
    QTest::newRow("4095") << 4095 << 0;
    QTest::newRow("4096") << 4096 << 0;
    // One read takes 4096 of them, which is too much already.
    QTest::newRow("60000") << 60000 << 0;
}

void TestObcServiceTag::aReplyOfAnySizeFitsOrIsDropped()
{
    QFETCH(int, replyBytes);
    QFETCH(int, tagBytes);
    RunningTagServer server({QStringLiteral("--reply-bytes"), QString::number(replyBytes)});
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 1);
    QCOMPARE(outcome.error, 0U);
    QCOMPARE(outcome.length, static_cast<unsigned>(tagBytes));
    QCOMPARE(outcome.tag, QByteArray(tagBytes, 'T'));
}

void TestObcServiceTag::aTagAsLongAsTheBufferIsDropped_data()
{
    QTest::addColumn<int>("capacity");
    QTest::addColumn<QByteArray>("tag");
    QTest::newRow("one byte to spare") << 4 << QByteArray("tag");
    QTest::newRow("just as long") << 3 << QByteArray();
    QTest::newRow("none") << 0 << QByteArray();
    QTest::newRow("negative") << -1 << QByteArray();
}

void TestObcServiceTag::aTagAsLongAsTheBufferIsDropped()
{
    QFETCH(int, capacity);
    QFETCH(QByteArray, tag);
    ThreadTagServer server(QByteArray("\x01tag"));
    QVERIFY(server.isReady());
    QByteArray buffer(8, '\x5A');
    unsigned length = 77;
    unsigned error = 0;
    QCOMPARE(ObC_ServiceTag("key", 3, buffer.data(), &length, capacity, &error), 1);
    QCOMPARE(length, static_cast<unsigned>(tag.size()));
    QCOMPARE(buffer, tag + QByteArray(8 - tag.size(), '\x5A'));
}

void TestObcServiceTag::aServerIsStartedOnDemandAndEnded()
{
    setStartedServerOptions("--tag on-demand");
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 1);
    QCOMPARE(outcome.tag, QByteArray("on-demand"));
    QVERIFY(outcome.elapsedMs >= serverStartMs);
    QVERIFY(!hasChildren());
    // Its name is free again.
    const int listener = listenAsTagServer(1);
    QVERIFY(listener != -1);
    close(listener);
}

void TestObcServiceTag::aServerThatCannotBeExecutedIsReported()
{
    TagServerAddress::setProgram("/nonexistent/tag-server");
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2006U);
    QVERIFY(outcome.elapsedMs >= serverStartMs);
}

void TestObcServiceTag::aServerThatDoesNotListenIsEnded()
{
    // Listens, but not where it is looked for.
    qputenv("KELACCOUNT_TAG_SERVER_OPTIONS",
            "--die-with-parent --name elsewhere-" + TagServerAddress::socketName());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2006U);
    QCOMPARE(outcome.length, 0U);
}

void TestObcServiceTag::aStartedServerThatRefusesIsEnded()
{
    setStartedServerOptions("--refuse 0x89ABCDEF");
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x89ABCDEFU);
}

void TestObcServiceTag::aStartedServerThatHangsIsEnded()
{
    setStartedServerOptions("--hang");
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2005U);
    // The half second of its start is part of the time that it has.
    QVERIFY2(outcome.elapsedMs >= limitMs - 50 && outcome.elapsedMs < limitMs + slackMs,
             QByteArray::number(outcome.elapsedMs));
}

void TestObcServiceTag::aStartedServerThatDiesIsReaped()
{
    setStartedServerOptions("--die-after-accept");
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2005U);
}

void TestObcServiceTag::aRunningServerStaysAlive()
{
    RunningTagServer server({QStringLiteral("--tag"), QStringLiteral("running")});
    QVERIFY(server.isReady());
    for (int i = 0; i < 3; ++i) {
        const Outcome outcome = ask();
        QCOMPARE(outcome.result, 1);
        QCOMPARE(outcome.tag, QByteArray("running"));
        QVERIFY(outcome.elapsedMs < serverStartMs);
        QVERIFY(server.isAlive());
    }
}

void TestObcServiceTag::aSlowServerIsWaitedFor()
{
    RunningTagServer server({QStringLiteral("--slow"), QStringLiteral("300")});
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 1);
    QCOMPARE(outcome.tag, QByteArray("emulated service tag"));
    QVERIFY(outcome.elapsedMs >= 300);
}

void TestObcServiceTag::aRunningServerThatHangsIsGivenUp()
{
    RunningTagServer server({QStringLiteral("--hang")});
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2005U);
    QVERIFY2(outcome.elapsedMs >= limitMs - 50 && outcome.elapsedMs < limitMs + slackMs,
             QByteArray::number(outcome.elapsedMs));
    QVERIFY(server.isAlive());
}

void TestObcServiceTag::aRunningServerThatDiesIsReported()
{
    RunningTagServer server({QStringLiteral("--die-after-accept")});
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2005U);
}

void TestObcServiceTag::aServerThatDribblesIsReadOnce()
{
    ThreadTagServer server([](int connection) {
        // The rest comes too late for the one read.
        for (const char* byte = "\x01slowly"; *byte; ++byte) {
            if (send(connection, byte, 1, MSG_NOSIGNAL) != 1)
                return;
            QTest::qSleep(150);
        }
    });
    QVERIFY(server.isReady());
    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 1);
    QCOMPARE(outcome.length, 0U);
    QVERIFY(outcome.elapsedMs < 600);
}

void TestObcServiceTag::aServerWithAFullQueueIsGivenUp()
{
    const int listener = listenAsTagServer(0);
    QVERIFY(listener != -1);
    // Nobody accepts these.
    QByteArray name = TagServerAddress::socketName();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + 1, name.constData(), static_cast<size_t>(name.size()));
    const auto size =
        static_cast<socklen_t>(sizeof address.sun_family + 1U + static_cast<unsigned>(name.size()));
    QVector<int> waiting;
    for (;;) {
        waiting.append(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (::connect(waiting.last(), reinterpret_cast<sockaddr*>(&address), size) == -1)
            break;
    }
    QCOMPARE(errno, EAGAIN);

    const Outcome outcome = ask();
    QCOMPARE(outcome.result, 0);
    QCOMPARE(outcome.error, 0x2005U);
    QVERIFY2(outcome.elapsedMs >= limitMs - 50 && outcome.elapsedMs < limitMs + slackMs,
             QByteArray::number(outcome.elapsedMs));
    for (const int descriptor : qAsConst(waiting))
        close(descriptor);
    close(listener);
}

void TestObcServiceTag::aServerThatHangsUpAtOnceRaisesNoSignal()
{
    // Reading of the connection is over before it has begun, so the request may meet a dead end.
    ThreadTagServer server([](int) {});
    QVERIFY(server.isReady());
    static volatile std::sig_atomic_t signalsRaised = 0;
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) { signalsRaised = signalsRaised + 1; };
    sigaction(SIGPIPE, &action, &before);
    int reported = 0;
    for (int i = 0; i < 500; ++i)
        reported += ask().error == 0x2005U ? 1 : 0;
    sigaction(SIGPIPE, &before, nullptr);
    QCOMPARE(reported, 500);
    QCOMPARE(static_cast<int>(signalsRaised), 0);
}

void TestObcServiceTag::signalsNeitherShortenNorLengthenAnExchange()
{
    Interruptions::count = 0;
    {
        const Interruptions interruptions;
        const Outcome started = ask();
        QCOMPARE(started.result, 1);
        QVERIFY2(started.elapsedMs >= serverStartMs, QByteArray::number(started.elapsedMs));
        QVERIFY(started.elapsedMs < serverStartMs + slackMs);
    }
    QVERIFY(Interruptions::count > 10);

    RunningTagServer server({QStringLiteral("--hang")});
    QVERIFY(server.isReady());
    const Interruptions interruptions;
    const Outcome hanging = ask();
    QCOMPARE(hanging.error, 0x2005U);
    QVERIFY2(hanging.elapsedMs >= limitMs - 50 && hanging.elapsedMs < limitMs + slackMs,
             QByteArray::number(hanging.elapsedMs));
}

void TestObcServiceTag::childrenOfTheApplicationAreLeftAlone()
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

    QCOMPARE(ask().result, 1);
    setStartedServerOptions("--refuse 5");
    QCOMPARE(ask().error, 5U);

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

void TestObcServiceTag::aThousandExchangesLeaveNothingBehind()
{
    {
        RunningTagServer server;
        QVERIFY(server.isReady());
        const int before = openDescriptors();
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(ask().result, 1);
        QCOMPARE(openDescriptors(), before);
        QVERIFY(server.isAlive());
    }
    QVERIFY(!hasChildren());

    const int before = openDescriptors();
    QCOMPARE(ask().result, 1);
    setStartedServerOptions("--die-after-accept");
    QCOMPARE(ask().error, 0x2005U);
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(TestObcServiceTag)
#include "tst_obcservicetag.moc"
