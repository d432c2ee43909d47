// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/messagelog.h"

#include <QElapsedTimer>
#include <QTimer>

#include <csignal>

using namespace KelTest;

namespace {

const QString initialise = QStringLiteral("initialise");
const QString token = QStringLiteral("token");
constexpr int noHangMs = 5000;

} // namespace

/// The daemon, or the plugin's process, ends at any moment of a session.
class TestDaemonLoss : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void initTestCase();
    void init();
    void killedBeforeInitialise();
    void killedDuringInitialise();
    void killedWhileIdle();
    void killedWithThreeRequestsQueued();
    void killedWithARequestOnItsWay();
    void endedWithARequestInFlight();
    void killedAgainAndAgain();
    void aRequestInFlightIsNotSentTwice();
    void pluginKilledDuringInitialise();
    void pluginKilledWithARequestInFlight();
    void pluginKilledWithRequestsQueued();
    void pluginKilledWhileIdle();
    void credentialsAreStoredAfterTheLoss();
    void aDaemonThatCannotBeStartedIsNotWaitedFor();

private:
    bool worksAgain();
};

void TestDaemonLoss::initTestCase()
{
    mCredentials = storeCredentials();
    QVERIFY(mCredentials > 0);
}

void TestDaemonLoss::init()
{
    mSandbox.script({});
    makeInterface();
}

/// A session opens, with the plugin told so, and a request is answered.
bool TestDaemonLoss::worksAgain()
{
    mSandbox.script({});
    mAnswers.clear();
    if (!open() || mSandbox.mechanisms() != QStringList(initialise))
        return false;
    mInterface->token();
    return waitForAnswers(1) && mAnswers == QStringList(QStringLiteral("token 0"));
}

void TestDaemonLoss::killedBeforeInitialise()
{
    QVERIFY(mSandbox.startDaemon());
    letPass(50); // the sign-on library has its connection now
    QVERIFY(mSandbox.killDaemon());
    // The news of the loss is still unread when the session is opened.
    QVERIFY(open());
    QVERIFY(mInterface->sessionExists(mCredentials));
    mInterface->token();
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 0")));
    mInterface->destroyActiveAuthSession();
    QVERIFY(worksAgain());
}

void TestDaemonLoss::killedDuringInitialise()
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
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 3")));
    QVERIFY(!mInterface->sessionExists(mCredentials));
    QVERIFY(worksAgain());
}

void TestDaemonLoss::killedWhileIdle()
{
    QVERIFY(open());
    QVERIFY(mSandbox.killDaemon());
    const MessageLog log;
    QVERIFY(waitUntil([this] { return !mInterface->sessionExists(mCredentials); }, noHangMs));
    QCOMPARE(mAnswers, QStringList());
    QCOMPARE(log.all(), QStringList()); // a daemon that nobody uses ends by itself
    QVERIFY(worksAgain());
}

void TestDaemonLoss::killedWithThreeRequestsQueued()
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
    QCOMPARE(mAnswers,
             QStringList({QStringLiteral("token 3"), QStringLiteral("ensureToken 3"),
                          QStringLiteral("signIn 3"), QStringLiteral("downloadProfile 3")}));
    QVERIFY(!mInterface->sessionExists(mCredentials));
    QVERIFY(worksAgain());
}

void TestDaemonLoss::killedWithARequestOnItsWay()
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

void TestDaemonLoss::endedWithARequestInFlight()
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
    QVERIFY(mAnswers.at(0).startsWith(QStringLiteral("token ")));
    QVERIFY(mAnswers.at(0) != QStringLiteral("token 0"));
    QVERIFY(worksAgain());
}

void TestDaemonLoss::killedAgainAndAgain()
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
        QVERIFY(mAnswers.at(0) != QStringLiteral("token 0"));
    }
    QVERIFY(worksAgain());
}

void TestDaemonLoss::aRequestInFlightIsNotSentTwice()
{
    const QString changePassword = QStringLiteral("privateMechanism_changepassword");
    mSandbox.script({{changePassword, PluginStep::Hang}});
    QVERIFY(open());
    mInterface->changePassword(QStringLiteral("old"), QStringLiteral("new"));
    QVERIFY(mSandbox.waitForRequests(2));
    QVERIFY(mSandbox.killDaemon());
    QVERIFY(waitForAnswers(1));
    QVERIFY(open());
    letPass(500);
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, changePassword, initialise}));
}

void TestDaemonLoss::pluginKilledDuringInitialise()
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

void TestDaemonLoss::pluginKilledWithRequestsQueued()
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
    QVERIFY(mAnswers.at(0).startsWith(QStringLiteral("token ")));
    QVERIFY(mAnswers.at(0) != QStringLiteral("token 0"));
    QVERIFY(mAnswers.at(1).startsWith(QStringLiteral("ensureToken ")));
    QVERIFY(mAnswers.at(2).startsWith(QStringLiteral("signIn ")));
    QVERIFY(worksAgain());
}

void TestDaemonLoss::pluginKilledWhileIdle()
{
    QVERIFY(open());
    const pid_t plugin = mSandbox.pluginProcessId();
    QVERIFY(plugin > 1);
    QCOMPARE(::kill(plugin, SIGKILL), 0);
    letPass(100);
    mInterface->token();
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 310")));
    QVERIFY(worksAgain());
}

// The daemon tells of the loss twice: to the request in flight, and to the first of the next
// session.
void TestDaemonLoss::pluginKilledWithARequestInFlight()
{
    mSandbox.script({{token, PluginStep::Hang}});
    QVERIFY(open());
    mInterface->token();
    QVERIFY(mSandbox.waitForRequests(2));
    QCOMPARE(::kill(mSandbox.pluginProcessId(), SIGKILL), 0);
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 1")));
    QVERIFY(!mInterface->sessionExists(mCredentials));
    QVERIFY(worksAgain());
}

void TestDaemonLoss::credentialsAreStoredAfterTheLoss()
{
    QVERIFY(mSandbox.killDaemon());
    const unsigned credentials = storeCredentials();
    QVERIFY(credentials > 0);
    QVERIFY(
        mInterface->createAuthSession(key(), secret(), QStringLiteral("s"), server, credentials));
}

void TestDaemonLoss::aDaemonThatCannotBeStartedIsNotWaitedFor()
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

int main(int argc, char** argv)
{
    return runInSession<TestDaemonLoss>(argc, argv);
}

#include "tst_daemonloss.moc"
