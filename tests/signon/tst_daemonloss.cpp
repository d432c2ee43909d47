// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QElapsedTimer>
#include <QTimer>

#include <csignal>

using namespace KelTest;

namespace {

const QString initialise = "initialise"_s;
const QString token = "token"_s;
constexpr int noHangMs = 5000;

} // namespace

/// The daemon, or the plugin's process, ends at any moment of a session.
class TestDaemonLoss : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void killedBeforeInitialise()
    {
        QVERIFY(mSandbox.startDaemon());
        letPass(50); // the sign-on library has its connection now
        QVERIFY(mSandbox.killDaemon());
        // The news of the loss is still unread when the session is opened.
        QVERIFY(open());
        QVERIFY(mInterface->sessionExists(mCredentials));
        mInterface->token();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 0"_s));
        mInterface->destroyActiveAuthSession();
        QVERIFY(worksAgain());
    }

    void killedDuringInitialise()
    {
        mSandbox.script({{initialise, PluginStep::Hang}});
        QTimer::singleShot(200, this, [this] {
            mInterface->token();
            QVERIFY(mSandbox.killDaemon());
        });
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() < noHangMs);
        QVERIFY(waitForAnswers(1));
        letPass(100);
        QCOMPARE(mAnswers, QStringList("token 3"_s));
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(worksAgain());
    }

    void killedWhileIdle()
    {
        QVERIFY(open());
        QVERIFY(mSandbox.killDaemon());
        const MessageLog log;
        QVERIFY(waitUntil([this] { return !mInterface->sessionExists(mCredentials); }, noHangMs));
        QCOMPARE(mAnswers, QStringList());
        QCOMPARE(log.all(), QStringList()); // a daemon that nobody uses ends by itself
        QVERIFY(worksAgain());
    }

    void killedWithThreeRequestsQueued()
    {
        mSandbox.script({{token, PluginStep::Hang}});
        QVERIFY(open());
        mInterface->token();
        mInterface->ensureToken();
        mInterface->signIn();
        mInterface->downloadProfile();
        QVERIFY(mSandbox.waitForRequests(2));
        QVERIFY(mSandbox.killDaemon());
        QCOMPARE(mAnswers, QStringList());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(waitForAnswers(4));
        QVERIFY(timer.elapsed() < noHangMs);
        letPass(300);
        QCOMPARE(mAnswers, QStringList({"token 3"_s, "ensureToken 3"_s, "signIn 3"_s,
                                        "downloadProfile 3"_s}));
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(worksAgain());
    }

    void killedWithARequestOnItsWay()
    {
        QVERIFY(open());
        QVERIFY(mSandbox.killDaemon());
        // Nobody here knows yet.
        mInterface->token();
        mInterface->ensureToken();
        QVERIFY(waitForAnswers(2));
        letPass(300);
        QCOMPARE(mAnswers.size(), 2);
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(worksAgain());
    }

    void endedWithARequestInFlight()
    {
        mSandbox.script({{token, PluginStep::Hang}});
        QVERIFY(open());
        mInterface->token();
        mInterface->ensureToken();
        QVERIFY(mSandbox.waitForRequests(2));
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        QCOMPARE(::kill(daemon, SIGTERM), 0);
        QVERIFY(waitForAnswers(2));
        letPass(300);
        QCOMPARE(mAnswers.size(), 2);
        QVERIFY(mAnswers.at(0).startsWith("token "_s));
        QVERIFY(mAnswers.at(0) != "token 0"_s);
        QVERIFY(worksAgain());
    }

    void killedAgainAndAgain()
    {
        for (int i = 0; i < 5; ++i) {
            QVERIFY(worksAgain());
            mSandbox.script({{token, PluginStep::Hang}});
            mAnswers.clear();
            mInterface->token();
            QVERIFY(mSandbox.waitForRequests(1));
            QVERIFY(mSandbox.killDaemon());
            QVERIFY(waitForAnswers(1));
            letPass(20);
            QCOMPARE(mAnswers.size(), 1);
            QVERIFY(mAnswers.at(0) != "token 0"_s);
        }
        QVERIFY(worksAgain());
    }

    void aRequestInFlightIsNotSentTwice()
    {
        const QString changePassword = "privateMechanism_changepassword"_s;
        mSandbox.script({{changePassword, PluginStep::Hang}});
        QVERIFY(open());
        mInterface->changePassword("old"_s, "new"_s);
        QVERIFY(mSandbox.waitForRequests(2));
        QVERIFY(mSandbox.killDaemon());
        QVERIFY(waitForAnswers(1));
        QVERIFY(open());
        letPass(500);
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, changePassword, initialise}));
    }

    void pluginKilledDuringInitialise()
    {
        mSandbox.script({{initialise, PluginStep::Die, {}, 0, 100}});
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() < noHangMs);
        QVERIFY(!mInterface->sessionExists(mCredentials));
        mSandbox.script({});
        QVERIFY(waitUntil([this] { return open(); }, noHangMs));
    }

    // The daemon tells of the loss twice: to the request in flight, and to the first of the next
    // session.
    void pluginKilledWithARequestInFlight()
    {
        mSandbox.script({{token, PluginStep::Hang}});
        QVERIFY(open());
        mInterface->token();
        QVERIFY(mSandbox.waitForRequests(2));
        QCOMPARE(::kill(mSandbox.pluginProcessId(), SIGKILL), 0);
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 1"_s));
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(worksAgain());
    }

    void pluginKilledWithRequestsQueued()
    {
        mSandbox.script({{token, PluginStep::Hang}});
        QVERIFY(open());
        mInterface->token();
        mInterface->ensureToken();
        mInterface->signIn();
        QVERIFY(mSandbox.waitForRequests(2));
        const pid_t plugin = mSandbox.pluginProcessId();
        QVERIFY(plugin > 1);
        QCOMPARE(::kill(plugin, SIGKILL), 0);
        QVERIFY(waitForAnswers(3));
        letPass(300);
        QCOMPARE(mAnswers.size(), 3);
        QVERIFY(mAnswers.at(0).startsWith("token "_s));
        QVERIFY(mAnswers.at(0) != "token 0"_s);
        QVERIFY(mAnswers.at(1).startsWith("ensureToken "_s));
        QVERIFY(mAnswers.at(2).startsWith("signIn "_s));
        QVERIFY(worksAgain());
    }

    void pluginKilledWhileIdle()
    {
        QVERIFY(open());
        const pid_t plugin = mSandbox.pluginProcessId();
        QVERIFY(plugin > 1);
        QCOMPARE(::kill(plugin, SIGKILL), 0);
        letPass(100);
        mInterface->token();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 310"_s));
        QVERIFY(worksAgain());
    }

    void credentialsAreStoredAfterTheLoss()
    {
        QVERIFY(mSandbox.killDaemon());
        const unsigned credentials = storeCredentials();
        QVERIFY(credentials > 0);
        QVERIFY(mInterface->createAuthSession(key(), secret(), "s"_s, server, credentials));
    }

    void aDaemonThatCannotBeStartedIsNotWaitedFor()
    {
        letPass(100); // the interface's own first call starts the daemon
        QVERIFY(mSandbox.killDaemon());
        mSandbox.setDaemonInstalled(false);
        QElapsedTimer timer;
        timer.start();
        const MessageLog log;
        QVERIFY(!open());
        QVERIFY(log.hasCritical("The sign-on daemon cannot be started"));
        QCOMPARE(storeCredentials(), 0U);
        QVERIFY(timer.elapsed() < noHangMs);
        mSandbox.setDaemonInstalled(true);
        QVERIFY(worksAgain());
        QVERIFY(storeCredentials() > 0);
    }

private:
    /// A session opens, with the plugin told so, and a request is answered.
    bool worksAgain()
    {
        mSandbox.script({});
        mAnswers.clear();
        if (!open() || mSandbox.mechanisms() != QStringList(initialise))
            return false;
        mInterface->token();
        return waitForAnswers(1) && mAnswers == QStringList("token 0"_s);
    }
};

KEL_TEST_IN_SESSION(TestDaemonLoss)
#include "tst_daemonloss.moc"
