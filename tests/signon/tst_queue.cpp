// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"

using namespace KelTest;

namespace {

const QString initialise = "initialise"_s;
const QString token = "token"_s;
const QString ensureToken = "privateMechanism_ensureToken"_s;

} // namespace

class TestQueue : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void requestsRunInTheOrderInWhichTheyWereMade()
    {
        QVERIFY(open());
        mInterface->ensureToken();
        mInterface->token();
        mInterface->downloadProfile();
        mInterface->updateDeviceInfo();
        mInterface->signIn();
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(waitForAnswers(5));
        QCOMPARE(mAnswers, QStringList({"ensureToken 0"_s, "token 0"_s, "downloadProfile 0"_s,
                                        "updateDeviceInfo 0"_s, "signIn 0"_s}));
        QCOMPARE(mSandbox.mechanisms(),
                 QStringList({initialise, ensureToken, token, "privateMechanism_downloadProfile"_s,
                              "privateMechanism_updateDeviceInfo"_s, "signIn"_s}));
    }

    void theSecondWaitsForTheFirstsAnswer()
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
        QCOMPARE(mAnswers, QStringList({"token 0"_s, "ensureToken 0"_s}));
    }

    void theSecondIsSentAfterAnErrorToo()
    {
        mSandbox.script({{token, PluginStep::Err, {}, 604, 100}});
        QVERIFY(open());
        mInterface->token();
        mInterface->ensureToken();
        QVERIFY(waitForAnswers(2));
        QCOMPARE(mAnswers, QStringList({"token 604"_s, "ensureToken 0"_s}));
    }

    void theNextIsSentFromTheEventLoop()
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

    void equalRequestsAllRun()
    {
        QVERIFY(open());
        for (int i = 0; i < 3; ++i)
            mInterface->token();
        QVERIFY(waitForAnswers(3));
        letPass(50);
        QCOMPARE(mAnswers.size(), 3);
        QCOMPARE(mSandbox.mechanisms().count(token), 3);
    }

    void requestsMadeInAnAnswerComeLast()
    {
        QVERIFY(open());
        connect(mInterface.get(), &Interface::tokenResponse, this,
                [this] { mInterface->signIn(); });
        mInterface->token();
        mInterface->ensureToken();
        QVERIFY(waitForAnswers(3));
        QCOMPARE(mAnswers, QStringList({"token 0"_s, "ensureToken 0"_s, "signIn 0"_s}));
    }

    void anAnswerToNothingIsLogged()
    {
        QVERIFY(open());
        const MessageLog log;
        mInterface->processPluginResponse(SignOn::SessionData());
        QVERIFY(log.hasCritical("Error!!!Request type is Unknown"));
        letPass(50);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(mInterface->sessionExists(mCredentials));
    }

    void anErrorToNothingIsLogged()
    {
        QVERIFY(open());
        const MessageLog log;
        mInterface->processPluginError(SignOn::Error(605));
        QVERIFY(log.hasCritical("Error!!!Request type is Unknown"));
        letPass(50);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(mInterface->sessionExists(mCredentials));
    }

    void closingWithoutASessionSendsNothing()
    {
        mInterface->close();
        QCOMPARE(mAnswers, QStringList("close 0"_s));
        letPass(100);
        QCOMPARE(mAnswers.size(), 1);
        QCOMPARE(mSandbox.mechanisms(), QStringList());
    }

    void closingWaitsItsTurn()
    {
        mSandbox.script({{token, PluginStep::Answer, {}, 0, 150}});
        QVERIFY(open());
        mInterface->token();
        mInterface->close();
        QCOMPARE(mAnswers, QStringList("close 0"_s));
        QVERIFY(waitForAnswers(2));
        QVERIFY(mSandbox.waitForRequests(3));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, "close"_s}));
    }

    void anErrorOfCloseIsNobodys()
    {
        mSandbox.script({{"close"_s, PluginStep::Err, {}, 605}});
        QVERIFY(open());
        mInterface->close();
        mInterface->token();
        QVERIFY(waitForAnswers(2));
        QCOMPARE(mAnswers, QStringList({"close 0"_s, "token 0"_s}));
    }

    void destroyingTellsThePluginNothing()
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

    void destroyingAnswersEveryRequestLater()
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
        QCOMPARE(mAnswers, QStringList({"token 405"_s, "ensureToken 405"_s, "signIn 405"_s}));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
    }

    void destroyingCancelsWhatHangs()
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

    void destroyingLetsThePluginFinishWhatIsNew()
    {
        mSandbox.script({{token, PluginStep::Answer, {}, 0, 200}});
        QVERIFY(open());
        mInterface->token();
        QVERIFY(mSandbox.waitForRequests(2));
        mInterface->destroyActiveAuthSession();
        QVERIFY(open());
        QCOMPARE(mSandbox.cancellations(), 0);
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
        QCOMPARE(mAnswers, QStringList("token 405"_s));
    }

    void aLateAnswerIsNobodys()
    {
        mSandbox.script({{token, PluginStep::Answer, {}, 0, 300}});
        QVERIFY(open());
        mInterface->token();
        QVERIFY(mSandbox.waitForRequests(2));
        mInterface->destroyActiveAuthSession();
        QVERIFY(waitForAnswers(1));
        const MessageLog log;
        letPass(500);
        QCOMPARE(mAnswers, QStringList("token 405"_s));
        QCOMPARE(log.all(), QStringList());
    }

    void nothingOfTheOldSessionReachesTheNew()
    {
        mSandbox.script({{token, PluginStep::Answer, {}, 0, 100}});
        QVERIFY(open());
        // When the token is answered, the next request is already on its way through the event
        // loop.
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
        QVERIFY(mAnswers.contains("ensureToken 405"_s));
        QVERIFY(mAnswers.contains("signIn 405"_s));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token, initialise}));
        mInterface->ensureToken();
        QVERIFY(waitForAnswers(4));
        QCOMPARE(mAnswers.last(), "ensureToken 0"_s);
    }

    void withoutASessionEveryRequestIsRefused()
    {
        const MessageLog log;
        mInterface->token();
        mInterface->signIn();
        mInterface->changePassword("a"_s, "b"_s);
        QCOMPARE(mAnswers, QStringList());
        QVERIFY(waitForAnswers(3));
        letPass(50);
        QCOMPARE(mAnswers, QStringList({"token 704"_s, "signIn 704"_s, "changePassword 704"_s}));
        QCOMPARE(mSandbox.mechanisms(), QStringList());
    }

    void theInterfaceMayGoInAnAnswer()
    {
        QVERIFY(open());
        connect(mInterface.get(), &Interface::tokenResponse, this, [this] { mInterface.reset(); });
        mInterface->token();
        mInterface->ensureToken();
        QVERIFY(waitUntil([this] { return !mInterface; }));
        letPass(100);
        QCOMPARE(mAnswers, QStringList("token 0"_s));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
    }

    void theInterfaceMayGoWithRequestsWaiting()
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

    void aPluginThatForgotIsInitialisedAgain()
    {
        mSandbox.script({{token, PluginStep::Err, {}, 702}, {token, PluginStep::Answer}});
        QVERIFY(open());
        mInterface->token();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 702"_s));
        QVERIFY(initialisedOnce());
        QVERIFY(open());
        QVERIFY(!initialisedOnce());
        mInterface->token();
        QVERIFY(waitForAnswers(2));
        QCOMPARE(mAnswers.last(), "token 0"_s);
    }

private:
    bool initialisedOnce() const { return mSandbox.mechanisms().count(initialise) == 1; }
};

KEL_TEST_IN_SESSION(TestQueue)
#include "tst_queue.moc"
