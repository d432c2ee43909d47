// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QElapsedTimer>
#include <QTimer>

using namespace KelTest;

namespace {

const QString initialise = "initialise"_s;
const QString token = "token"_s;
constexpr int whileOpening = 100; // ms; the plugin takes three times as long

/// Creates an account of the provider and gives its number in the accounts database.
unsigned createAccount(const QString& provider, bool enabled, unsigned credentials)
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(provider));
    account->setEnabled(enabled);
    account->setValue("CredentialsId"_s, static_cast<int>(credentials));
    return account->syncAndBlock() ? account->id() : 0;
}

void removeAccounts()
{
    Accounts::Manager manager;
    const Accounts::AccountIdList ids = manager.accountList();
    for (const Accounts::AccountId id : ids) {
        Accounts::Account* const account = manager.account(id);
        account->remove();
        account->syncAndBlock();
    }
}

} // namespace

class TestOpening : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void cleanup()
    {
        mInterface.reset();
        removeAccounts();
    }

    void theSameFourParametersOpenOnce()
    {
        QVERIFY(open());
        QVERIFY(open());
        QVERIFY(open("another-service"_s));
        letPass(50);
        QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
    }

    void aChangedParameterOpensAnew_data()
    {
        columns<QString, QString, int, bool>("consumerKey", "consumerSecret", "serverIndex",
                                             "otherCredentials");
        QTest::newRow("key") << "other"_s << secret() << server << false;
        QTest::newRow("secret") << key() << "other"_s << server << false;
        QTest::newRow("server") << key() << secret() << server + 1 << false;
        QTest::newRow("credentials") << key() << secret() << server << true;
    }
    void aChangedParameterOpensAnew()
    {
        const auto [consumerKey, consumerSecret, serverIndex, otherCredentials] =
            fetch<QString, QString, int, bool>("consumerKey", "consumerSecret", "serverIndex",
                                               "otherCredentials");
        const unsigned credentials = otherCredentials ? storeCredentials() : mCredentials;
        QVERIFY(credentials > 0);
        QVERIFY(open());
        QVERIFY(mInterface->createAuthSession(consumerKey, consumerSecret, "second"_s, serverIndex,
                                              credentials));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, initialise}));
        const QVariantMap data = mSandbox.requests().at(1).data;
        QCOMPARE(data.value("ConsumerKey"_s), QVariant(consumerKey));
        QCOMPARE(data.value("ConsumerSecret"_s), QVariant(consumerSecret));
        QCOMPARE(data.value("ServerUrlValue"_s), QVariant(serverIndex));
        QCOMPARE(data.value("ZorService"_s), QVariant("second"_s));
        QVERIFY(mInterface->sessionExists(credentials));
        QCOMPARE(mInterface->sessionExists(mCredentials), !otherCredentials);
    }

    void zeroStandsForTheEnabledAccountsCredentials()
    {
        QVERIFY(createAccount("other"_s, true, 991));
        QVERIFY(createAccount("zor"_s, false, 992));
        QVERIFY(!mInterface->sessionExists(0));
        QCOMPARE(mInterface->retrieveActiveAccountCredId(), 0U);
        QVERIFY(createAccount("zor"_s, true, mCredentials));
        // Behind and before it, whichever way the framework lists them.
        QVERIFY(createAccount("zor"_s, false, 993));
        QVERIFY(createAccount("other"_s, true, 994));
        QCOMPARE(mInterface->retrieveActiveAccountCredId(), mCredentials);

        QVERIFY(!mInterface->sessionExists(0));
        QVERIFY(mInterface->createAuthSession(key(), secret(), "s"_s, server, 0));
        QVERIFY(mInterface->sessionExists(0));
        QVERIFY(mInterface->sessionExists(mCredentials));
        QVERIFY(!mInterface->sessionExists(993));
        QCOMPARE(mSandbox.requests().at(0).data.value("UserName"_s), QVariant("user"_s));
    }

    void zeroWithoutAnAccountFails()
    {
        const MessageLog log;
        QVERIFY(!mInterface->createAuthSession(key(), secret(), "s"_s, server, 0));
        QVERIFY(
            log.hasCritical("KelAuthSessionInterface::createAuthSession: Unable to find any valid "
                            "credential id.. unable to proceed"));
        QVERIFY(!mInterface->sessionExists(0));
        letPass(50);
        QCOMPARE(mSandbox.mechanisms(), QStringList());
    }

    void anErrorOfInitialiseClosesTheSession()
    {
        mSandbox.script({{initialise, PluginStep::Err, {}, 600}, {initialise, PluginStep::Answer}});
        const MessageLog log;
        QVERIFY(!open());
        QVERIFY(log.hasCritical("The sign-on plugin opens no session: sign-on error 600"));
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(open());
        QVERIFY(mInterface->sessionExists(mCredentials));
    }

    void requestsBehindAFailedInitialiseAreAnswered()
    {
        mSandbox.script({{initialise, PluginStep::Err, {}, 600, 3 * whileOpening}});
        const MessageLog log;
        later([this] {
            mInterface->token();
            mInterface->signIn();
        });
        QVERIFY(!open());
        QVERIFY(waitForAnswers(2));
        letPass(50);
        QCOMPARE(mAnswers, QStringList({"token 704"_s, "signIn 704"_s}));
        QVERIFY(log.hasCritical("The sign-on plugin opens no session: sign-on error 600"));
        QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
    }

    void aPluginThatIsNotInitialisedInTimeIsGivenUp()
    {
        mSandbox.script({{initialise, PluginStep::Hang}, {initialise, PluginStep::Answer}});
        mInterface->setOpeningTimeout(300);
        const MessageLog log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() >= 250);
        QVERIFY(timer.elapsed() < 3000);
        QVERIFY(log.hasCritical("The authentication plugin did not answer \"initialise\" in time"));
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(waitUntil([this] { return mSandbox.cancellations() == 1; }));
        QVERIFY(open());
    }

    void aGivenUpPluginMayAnswerLate()
    {
        mSandbox.script(
            {{initialise, PluginStep::IgnoreCancel, {}, 0, 500}, {initialise, PluginStep::Answer}});
        mInterface->setOpeningTimeout(200);
        QVERIFY(!open());
        mInterface->setOpeningTimeout(10000);
        // The daemon lets the next session wait until the plugin has done with the last.
        QVERIFY(open());
        mInterface->token();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 0"_s));
    }

    void requestsMadeInTheWaitAreSentAfterwards()
    {
        answerInitialiseLate();
        QStringList atThePluginMeanwhile;
        later([&] {
            mInterface->token();
            mInterface->ensureToken();
            atThePluginMeanwhile = mSandbox.mechanisms();
        });
        QVERIFY(open());
        QCOMPARE(atThePluginMeanwhile, QStringList(initialise));
        QVERIFY(waitForAnswers(2));
        QCOMPARE(mAnswers, QStringList({"token 0"_s, "ensureToken 0"_s}));
        QCOMPARE(mSandbox.mechanisms(),
                 QStringList({initialise, token, "privateMechanism_ensureToken"_s}));
    }

    void openingTheSameInTheWaitSucceedsAtOnce()
    {
        answerInitialiseLate();
        int opened = 0;
        qint64 took = -1;
        later([&] {
            QElapsedTimer timer;
            timer.start();
            for (int i = 0; i < 100; ++i)
                opened += open("another-service"_s) ? 1 : 0;
            took = timer.elapsed();
            mInterface->token();
        });
        QVERIFY(open());
        QCOMPARE(opened, 100);
        QVERIFY(took < whileOpening);
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
    }

    void openingAnotherInTheWaitIsRefused()
    {
        answerInitialiseLate();
        const MessageLog log;
        bool refused = false;
        later([&] {
            refused =
                !mInterface->createAuthSession("other"_s, secret(), "s"_s, server, mCredentials);
        });
        QVERIFY(open());
        QVERIFY(refused);
        QVERIFY(log.hasCritical("A session is being opened; another cannot be opened meanwhile"));
        QVERIFY(mInterface->sessionExists(mCredentials));
        QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
    }

    void destroyingInTheWaitEndsIt()
    {
        answerInitialiseLate();
        bool reopened = true;
        later([&] {
            mInterface->token();
            mInterface->destroyActiveAuthSession();
            reopened = open(); // the wait has yet to return
        });
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY(!reopened);
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("token 405"_s));
        QVERIFY(open());
    }

    void theInterfaceMayGoInTheWait()
    {
        answerInitialiseLate();
        later([this] {
            mInterface->token();
            mInterface.reset();
        });
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY(!mInterface);
        letPass(3 * whileOpening);
        QCOMPARE(mAnswers, QStringList());
    }

    void theApplicationMayEndInTheWait()
    {
        answerInitialiseLate();
        bool opened = true;
        // As in an application: a slot of the main loop opens the session, another event ends it
        // all.
        QTimer::singleShot(0, this, [&] { opened = open(); });
        later([] { QCoreApplication::quit(); });
        const MessageLog log;
        QElapsedTimer timer;
        timer.start();
        QCoreApplication::exec();
        QVERIFY(
            log.hasCritical("The application ended its event loops while a session was opened"));
        QVERIFY(timer.elapsed() < 5000);
        QVERIFY(!opened);
        QVERIFY(!mInterface->sessionExists(mCredentials));
        QVERIFY(open());
    }

private:
    void answerInitialiseLate()
    {
        mSandbox.script({{initialise, PluginStep::Answer, {}, 0, 3 * whileOpening}});
    }

    void later(const std::function<void()>& action)
    {
        QTimer::singleShot(whileOpening, this, action);
    }
};

KEL_TEST_IN_SESSION(TestOpening)
#include "tst_opening.moc"
