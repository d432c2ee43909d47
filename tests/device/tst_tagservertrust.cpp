// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/obcmgrwrapper.h"
#include "device/testtagserver.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/processfacts.h"
#include "support/rows.h"

#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace KelTest;

namespace {

constexpr uid_t root = 0;
constexpr uid_t nobody = 65534;
constexpr qint64 aMinuteMs = 60000;
// The time that a server here has; a call that is refused takes none of it.
constexpr qint64 serverLimitMs = 1500;
constexpr qint64 atOnceMs = 1000;

// A process of another user that listens on the tag server's name and would answer with a tag. Only
// root can become somebody else; for anybody else the caller becomes another one by the seam.
class StrangersServer
{
public:
    StrangersServer()
    {
        int ready[2];
        if (pipe2(ready, O_CLOEXEC) == -1 || pipe2(mReport, O_CLOEXEC) == -1)
            return;
        if (geteuid() != root)
            PretendedPeer::setOwnUser(geteuid() + 1);
        mProcess = fork();
        if (mProcess == 0)
            serve(ready[1]);
        close(ready[1]);
        close(mReport[1]);
        char byte = 0;
        mReady = mProcess > 0 && read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }

    ~StrangersServer() { wasToldAnything(); }

    Q_DISABLE_COPY(StrangersServer)

    bool isReady() const { return mReady; }
    // Ends it; whether it was sent anything before.
    bool wasToldAnything()
    {
        if (mProcess <= 0)
            return false;
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
        mProcess = -1;
        char byte = 0;
        const bool told = read(mReport[0], &byte, 1) == 1;
        close(mReport[0]);
        return told;
    }

private:
    [[noreturn]] void serve(int ready)
    {
        if (geteuid() == root && setresuid(nobody, nobody, nobody) == -1)
            _exit(1);
        const int listener = listenAsTagServer(4);
        if (listener == -1 || write(ready, "r", 1) != 1)
            _exit(1);
        for (;;) {
            const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            char bytes[600];
            if (recv(client, bytes, sizeof bytes, 0) > 0 && write(mReport[1], "t", 1) == 1)
                send(client, "\x01tag", 4, MSG_NOSIGNAL);
            close(client);
        }
    }

    pid_t mProcess = -1;
    int mReport[2] = {-1, -1};
    bool mReady = false;
};

} // namespace

// Whom the client asks, and how often.
class TestTagServerTrust : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        PretendedPeer::reset();
        TagServerAddress::setProgram("/nonexistent/tag-server");
    }

    void cleanup() { QVERIFY(!hasChildren()); }

    void anotherUsersServerIsToldNothing()
    {
        StrangersServer server;
        QVERIFY(server.isReady());
        const int before = openDescriptors();
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, 0);
        QCOMPARE(outcome.error, 0x2005U);
        QCOMPARE(outcome.length, 0U);
        QVERIFY2(outcome.elapsedMs < atOnceMs, QByteArray::number(outcome.elapsedMs));
        QCOMPARE(openDescriptors(), before);
        QVERIFY(!server.wasToldAnything());
    }

    void aStrangerDoesNotMakeTheCaptchaGo()
    {
        StrangersServer server;
        QVERIFY(server.isReady());
        QVERIFY(!KelRestHandler::ObcMgrWrapper().isServiceTagAvailable());
    }

    void whoListensDecides_data()
    {
        const auto row = rows<uint, uint, bool>("peer", "self", "asked");
        row("root asks root", 0U, 0U, true);
        row("a user asks root", 0U, 1000U, true);
        row("a user asks himself", 1000U, 1000U, true);
        row("a user asks another", 1001U, 1000U, false);
        row("root asks a user", 1000U, 0U, false);
        row("a user asks nobody", 65534U, 1000U, false);
    }
    void whoListensDecides()
    {
        const auto [peer, self, asked] = fetch<uint, uint, bool>("peer", "self", "asked");
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        PretendedPeer::setPeerUser(peer);
        PretendedPeer::setOwnUser(self);
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.result, asked ? 1 : 0);
        QCOMPARE(outcome.error, asked ? 0U : 0x2005U);
        QCOMPARE(outcome.tag, asked ? "tag"_ba : QByteArray());
    }

    void aPeerThatTheKernelDoesNotNameIsAStranger()
    {
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        PretendedPeer::setPeerUnknown();
        QCOMPARE(askForTag().error, 0x2005U);
    }

    void anOrdinaryUserAsksRootsServer()
    {
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        // As another user than the one who listens, when there is a way to be one.
        const pid_t asker = fork();
        if (asker == 0) {
            if (geteuid() == root && setresuid(nobody, nobody, nobody) == -1)
                _exit(2);
            _exit(askForTag().result == 1 ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(asker, &status, 0), asker);
        QCOMPARE(status, 0);
    }

    void aStrangerIsNeitherEndedNorReplaced()
    {
        // Would answer, had it been started.
        TagServerAddress::setProgram({});
        setStartedServerOptions({});
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        PretendedPeer::setPeerUser(geteuid() + 1);
        const TagOutcome outcome = askForTag();
        QCOMPARE(outcome.error, 0x2005U);
        QTRY_COMPARE(server.frames(), QByteArrayList{QByteArray()});
    }

    void aServerThatHungIsLeftAloneForAMinute()
    {
        {
            RunningTagServer hanging({"--hang"_s});
            QVERIFY(hanging.isReady());
            const TagOutcome outcome = askForTag();
            QCOMPARE(outcome.error, 0x2005U);
            QVERIFY(outcome.elapsedMs >= serverLimitMs - 50);
        }
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        // What the exchange itself took is part of the minute.
        PretendedPeer::passTime(aMinuteMs - 5000);
        const TagOutcome refused = askForTag();
        QCOMPARE(refused.result, 0);
        QCOMPARE(refused.error, 0x2005U);
        QCOMPARE(refused.length, 0U);
        QVERIFY2(refused.elapsedMs < atOnceMs, QByteArray::number(refused.elapsedMs));
        // Another wrapper is the same process.
        QVERIFY(!KelRestHandler::ObcMgrWrapper().isServiceTagAvailable());
        QCOMPARE(server.connections(), 0);

        PretendedPeer::passTime(5000);
        QCOMPARE(askForTag().result, 1);
        QCOMPARE(askForTag().result, 1);
    }

    void aServerThatHangsUpIsAskedAgain()
    {
        {
            ThreadTagServer server(QByteArray{});
            QVERIFY(server.isReady());
            QCOMPARE(askForTag().error, 0x2005U);
        }
        ThreadTagServer server("\x01tag"_ba);
        QVERIFY(server.isReady());
        QCOMPARE(askForTag().result, 1);
    }
};

QTEST_GUILESS_MAIN(TestTagServerTrust)
#include "tst_tagservertrust.moc"
