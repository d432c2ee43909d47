// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/messagelog.h"

using namespace KelTest;

namespace {

const QString initialise = QStringLiteral("initialise");
const QString token = QStringLiteral("token");
const QString ensureToken = QStringLiteral("privateMechanism_ensureToken");

} // namespace

class TestQueue : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void initTestCase();
    void init();
    void requestsRunInTheOrderInWhichTheyWereMade();
    void theSecondWaitsForTheFirstsAnswer();
    void theSecondIsSentAfterAnErrorToo();
    void theNextIsSentFromTheEventLoop();
    void equalRequestsAllRun();
    void requestsMadeInAnAnswerComeLast();
    void anAnswerToNothingIsLogged();
    void anErrorToNothingIsLogged();
    void closingWithoutASessionSendsNothing();
    void closingWaitsItsTurn();
    void anErrorOfCloseIsNobodys();
    void destroyingTellsThePluginNothing();
    void destroyingAnswersEveryRequestLater();
    void destroyingCancelsWhatHangs();
    void destroyingLetsThePluginFinishWhatIsNew();
    void aLateAnswerIsNobodys();
    void nothingOfTheOldSessionReachesTheNew();
    void withoutASessionEveryRequestIsRefused();
    void theInterfaceMayGoInAnAnswer();
    void theInterfaceMayGoWithRequestsWaiting();
    void aPluginThatForgotIsInitialisedAgain();

private:
    bool initialisedOnce() const { return mSandbox.mechanisms().count(initialise) == 1; }
};

void TestQueue::initTestCase()
{
    mCredentials = storeCredentials();
    QVERIFY(mCredentials > 0);
}

void TestQueue::init()
{
    mSandbox.script({});
    makeInterface();
}

void TestQueue::requestsRunInTheOrderInWhichTheyWereMade()
{
    QVERIFY(open());
    mInterface->ensureToken();
    mInterface->token();
    mInterface->downloadProfile();
    mInterface->updateDeviceInfo();
    mInterface->signIn();
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(5));
    QCOMPARE(mAnswers,
             QStringList({QStringLiteral("ensureToken 0"), QStringLiteral("token 0"),
                          QStringLiteral("downloadProfile 0"), QStringLiteral("updateDeviceInfo 0"),
                          QStringLiteral("signIn 0")}));
    QCOMPARE(mSandbox.mechanisms(),
             QStringList({initialise, ensureToken, token,
                          QStringLiteral("privateMechanism_downloadProfile"),
                          QStringLiteral("privateMechanism_updateDeviceInfo"),
                          QStringLiteral("signIn")}));
}

void TestQueue::theSecondWaitsForTheFirstsAnswer()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 300}});
    QVERIFY(open());
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(mSandbox.waitForRequests(2));
    letPass(150);
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(2));
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 0"), QStringLiteral("ensureToken 0")}));
}

void TestQueue::theSecondIsSentAfterAnErrorToo()
{
    mSandbox.script({{token, PluginStep::Err, {}, 604, 100}});
    QVERIFY(open());
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(waitForAnswers(2));
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 604"), QStringLiteral("ensureToken 0")}));
}

void TestQueue::theNextIsSentFromTheEventLoop()
{
    QVERIFY(open());
    QStringList atThePluginMeanwhile;
    connect(mInterface.get(), &Interface::tokenResponse, this, [&] {
        QTest::qSleep(200); // time enough for the plugin, but the event loop does not run
        atThePluginMeanwhile = mSandbox.mechanisms();
    });
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(waitForAnswers(2));
    QCOMPARE(atThePluginMeanwhile, QStringList({initialise, token}));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, ensureToken}));
}

void TestQueue::equalRequestsAllRun()
{
    QVERIFY(open());
    for (int i = 0; i < 3; ++i)
        mInterface->token();
    QVERIFY(waitForAnswers(3));
    letPass(50);
    QCOMPARE(mAnswers.size(), 3);
    QCOMPARE(mSandbox.mechanisms().count(token), 3);
}

void TestQueue::requestsMadeInAnAnswerComeLast()
{
    QVERIFY(open());
    connect(mInterface.get(), &Interface::tokenResponse, this, [this] { mInterface->signIn(); });
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(waitForAnswers(3));
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 0"), QStringLiteral("ensureToken 0"),
                                    QStringLiteral("signIn 0")}));
}

void TestQueue::anAnswerToNothingIsLogged()
{
    QVERIFY(open());
    const MessageLog log;
    mInterface->processPluginResponse(SignOn::SessionData());
    QVERIFY(log.hasCritical("Error!!!Request type is Unknown"));
    letPass(50);
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(mInterface->sessionExists(mCredentials));
}

void TestQueue::anErrorToNothingIsLogged()
{
    QVERIFY(open());
    const MessageLog log;
    mInterface->processPluginError(SignOn::Error(605));
    QVERIFY(log.hasCritical("Error!!!Request type is Unknown"));
    letPass(50);
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(mInterface->sessionExists(mCredentials));
}

void TestQueue::closingWithoutASessionSendsNothing()
{
    mInterface->close();
    QCOMPARE(mAnswers, QStringList(QStringLiteral("close 0")));
    letPass(100);
    QCOMPARE(mAnswers.size(), 1);
    QCOMPARE(mSandbox.mechanisms(), QStringList());
}

void TestQueue::closingWaitsItsTurn()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 150}});
    QVERIFY(open());
    mInterface->token();
    mInterface->close();
    QCOMPARE(mAnswers, QStringList(QStringLiteral("close 0")));
    QVERIFY(waitForAnswers(2));
    QVERIFY(mSandbox.waitForRequests(3));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, QStringLiteral("close")}));
}

void TestQueue::anErrorOfCloseIsNobodys()
{
    mSandbox.script({{QStringLiteral("close"), PluginStep::Err, {}, 605}});
    QVERIFY(open());
    mInterface->close();
    mInterface->token();
    QVERIFY(waitForAnswers(2));
    QCOMPARE(mAnswers, QStringList({QStringLiteral("close 0"), QStringLiteral("token 0")}));
}

void TestQueue::destroyingTellsThePluginNothing()
{
    QVERIFY(open());
    QVERIFY(mInterface->sessionExists(mCredentials));
    mInterface->destroyActiveAuthSession();
    QVERIFY(!mInterface->sessionExists(mCredentials));
    mInterface->destroyActiveAuthSession(); // no session: nothing to do
    letPass(150);
    QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
    QCOMPARE(mSandbox.cancellations(), 0);
    QCOMPARE(mAnswers, QStringList());
}

void TestQueue::destroyingAnswersEveryRequestLater()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 100}});
    QVERIFY(open());
    mInterface->token();
    mInterface->ensureToken();
    mInterface->signIn();
    QVERIFY(mSandbox.waitForRequests(2));
    mInterface->destroyActiveAuthSession();
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(3));
    letPass(150);
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 405"), QStringLiteral("ensureToken 405"),
                                    QStringLiteral("signIn 405")}));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
}

void TestQueue::destroyingCancelsWhatHangs()
{
    mSandbox.script({{token, PluginStep::Hang}});
    QVERIFY(open());
    mInterface->token();
    QVERIFY(mSandbox.waitForRequests(2));
    letPass(1100);
    mInterface->destroyActiveAuthSession();
    QVERIFY(waitUntil([this] { return mSandbox.cancellations() == 1; }));
    // The plugin is free for the next session on the same credentials.
    QVERIFY(open());
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
}

void TestQueue::destroyingLetsThePluginFinishWhatIsNew()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 200}});
    QVERIFY(open());
    mInterface->token();
    QVERIFY(mSandbox.waitForRequests(2));
    mInterface->destroyActiveAuthSession();
    QVERIFY(open());
    QCOMPARE(mSandbox.cancellations(), 0);
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 405")));
}

void TestQueue::aLateAnswerIsNobodys()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 300}});
    QVERIFY(open());
    mInterface->token();
    QVERIFY(mSandbox.waitForRequests(2));
    mInterface->destroyActiveAuthSession();
    QVERIFY(waitForAnswers(1));
    const MessageLog log;
    letPass(500);
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 405")));
    QCOMPARE(log.all(), QStringList());
}

void TestQueue::nothingOfTheOldSessionReachesTheNew()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 100}});
    QVERIFY(open());
    // When the token is answered, the next request is already on its way through the event loop.
    connect(mInterface.get(), &Interface::tokenResponse, this, [this] {
        mInterface->destroyActiveAuthSession();
        QVERIFY(open());
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
    });
    mInterface->token();
    mInterface->ensureToken();
    mInterface->signIn();
    QVERIFY(waitForAnswers(3));
    letPass(100);
    QCOMPARE(mAnswers.size(), 3);
    QVERIFY(mAnswers.contains(QStringLiteral("ensureToken 405")));
    QVERIFY(mAnswers.contains(QStringLiteral("signIn 405")));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
    mInterface->ensureToken();
    QVERIFY(waitForAnswers(4));
    QCOMPARE(mAnswers.last(), QStringLiteral("ensureToken 0"));
}

void TestQueue::withoutASessionEveryRequestIsRefused()
{
    const MessageLog log;
    mInterface->token();
    mInterface->signIn();
    mInterface->changePassword(QStringLiteral("a"), QStringLiteral("b"));
    QCOMPARE(mAnswers, QStringList());
    QVERIFY(waitForAnswers(3));
    letPass(50);
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 704"), QStringLiteral("signIn 704"),
                                    QStringLiteral("changePassword 704")}));
    QCOMPARE(mSandbox.mechanisms(), QStringList());
}

void TestQueue::theInterfaceMayGoInAnAnswer()
{
    QVERIFY(open());
    connect(mInterface.get(), &Interface::tokenResponse, this, [this] { mInterface.reset(); });
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(waitUntil([this] { return !mInterface; }));
    letPass(100);
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 0")));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
}

void TestQueue::theInterfaceMayGoWithRequestsWaiting()
{
    mSandbox.script({{token, PluginStep::Answer, {}, 0, 100}});
    QVERIFY(open());
    mInterface->token();
    mInterface->ensureToken();
    QVERIFY(mSandbox.waitForRequests(2));
    mInterface.reset();
    letPass(200);
    QCOMPARE(mAnswers, QStringList());
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
}

void TestQueue::aPluginThatForgotIsInitialisedAgain()
{
    mSandbox.script({{token, PluginStep::Err, {}, 702}, {token, PluginStep::Answer}});
    QVERIFY(open());
    mInterface->token();
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 702")));
    QVERIFY(initialisedOnce());
    QVERIFY(open());
    QVERIFY(!initialisedOnce());
    mInterface->token();
    QVERIFY(waitForAnswers(2));
    QCOMPARE(mAnswers.last(), QStringLiteral("token 0"));
}

int main(int argc, char** argv)
{
    return runInSession<TestQueue>(argc, argv);
}

#include "tst_queue.moc"
