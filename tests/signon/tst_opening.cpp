// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/messagelog.h"

#include <Accounts/Account>
#include <Accounts/Manager>

#include <QElapsedTimer>
#include <QTimer>

using namespace KelTest;

namespace {

const QString initialise = QStringLiteral("initialise");
const QString token = QStringLiteral("token");
constexpr int whileOpening = 100; // ms; the plugin takes three times as long

/// Creates an account of the provider and gives its number in the accounts database.
unsigned createAccount(const QString& provider, bool enabled, unsigned credentials)
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(provider));
    account->setEnabled(enabled);
    account->setValue(QStringLiteral("CredentialsId"), static_cast<int>(credentials));
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
    void initTestCase();
    void init();
    void cleanup();
    void theSameFourParametersOpenOnce();
    void aChangedParameterOpensAnew_data();
    void aChangedParameterOpensAnew();
    void zeroStandsForTheEnabledAccountsCredentials();
    void zeroWithoutAnAccountFails();
    void anErrorOfInitialiseClosesTheSession();
    void requestsBehindAFailedInitialiseAreAnswered();
    void aPluginThatIsNotInitialisedInTimeIsGivenUp();
    void aGivenUpPluginMayAnswerLate();
    void requestsMadeInTheWaitAreSentAfterwards();
    void openingTheSameInTheWaitSucceedsAtOnce();
    void openingAnotherInTheWaitIsRefused();
    void destroyingInTheWaitEndsIt();
    void theInterfaceMayGoInTheWait();
    void theApplicationMayEndInTheWait();

private:
    void answerInitialiseLate();
    void later(const std::function<void()>& action);
};

void TestOpening::initTestCase()
{
    mCredentials = storeCredentials();
    QVERIFY(mCredentials > 0);
}

void TestOpening::init()
{
    mSandbox.script({});
    makeInterface();
}

void TestOpening::cleanup()
{
    mInterface.reset();
    removeAccounts();
}

void TestOpening::answerInitialiseLate()
{
    mSandbox.script({{initialise, PluginStep::Answer, {}, 0, 3 * whileOpening}});
}

void TestOpening::later(const std::function<void()>& action)
{
    QTimer::singleShot(whileOpening, this, action);
}

void TestOpening::theSameFourParametersOpenOnce()
{
    QVERIFY(open());
    QVERIFY(open());
    QVERIFY(open(QStringLiteral("another-service")));
    letPass(50);
    QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
}

void TestOpening::aChangedParameterOpensAnew_data()
{
    QTest::addColumn<QString>("consumerKey");
    QTest::addColumn<QString>("consumerSecret");
    QTest::addColumn<int>("serverIndex");
    QTest::addColumn<bool>("otherCredentials");
    QTest::newRow("key") << QStringLiteral("other") << secret() << server << false;
    QTest::newRow("secret") << key() << QStringLiteral("other") << server << false;
    QTest::newRow("server") << key() << secret() << server + 1 << false;
    QTest::newRow("credentials") << key() << secret() << server << true;
}

void TestOpening::aChangedParameterOpensAnew()
{
    QFETCH(QString, consumerKey);
    QFETCH(QString, consumerSecret);
    QFETCH(int, serverIndex);
    QFETCH(bool, otherCredentials);
    const unsigned credentials = otherCredentials ? storeCredentials() : mCredentials;
    QVERIFY(credentials > 0);
    QVERIFY(open());
    QVERIFY(mInterface->createAuthSession(consumerKey, consumerSecret, QStringLiteral("second"),
                                          serverIndex, credentials));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, initialise}));
    const QVariantMap data = mSandbox.requests().at(1).data;
    QCOMPARE(data.value(QStringLiteral("ConsumerKey")), QVariant(consumerKey));
    QCOMPARE(data.value(QStringLiteral("ConsumerSecret")), QVariant(consumerSecret));
    QCOMPARE(data.value(QStringLiteral("ServerUrlValue")), QVariant(serverIndex));
    QCOMPARE(data.value(QStringLiteral("ZorService")), QVariant(QStringLiteral("second")));
    QVERIFY(mInterface->sessionExists(credentials));
    QCOMPARE(mInterface->sessionExists(mCredentials), !otherCredentials);
}

void TestOpening::zeroStandsForTheEnabledAccountsCredentials()
{
    QVERIFY(createAccount(QStringLiteral("other"), true, 991));
    QVERIFY(createAccount(QStringLiteral("zor"), false, 992));
    QVERIFY(!mInterface->sessionExists(0));
    QCOMPARE(mInterface->retrieveActiveAccountCredId(), 0U);
    QVERIFY(createAccount(QStringLiteral("zor"), true, mCredentials));
    // Behind and before it, whichever way the framework lists them.
    QVERIFY(createAccount(QStringLiteral("zor"), false, 993));
    QVERIFY(createAccount(QStringLiteral("other"), true, 994));
    QCOMPARE(mInterface->retrieveActiveAccountCredId(), mCredentials);

    QVERIFY(!mInterface->sessionExists(0));
    QVERIFY(mInterface->createAuthSession(key(), secret(), QStringLiteral("s"), server, 0));
    QVERIFY(mInterface->sessionExists(0));
    QVERIFY(mInterface->sessionExists(mCredentials));
    QVERIFY(!mInterface->sessionExists(993));
    QCOMPARE(mSandbox.requests().at(0).data.value(QStringLiteral("UserName")),
             QVariant(QStringLiteral("user")));
}

void TestOpening::zeroWithoutAnAccountFails()
{
    const MessageLog log;
    QVERIFY(!mInterface->createAuthSession(key(), secret(), QStringLiteral("s"), server, 0));
    QVERIFY(log.hasCritical("KelAuthSessionInterface::createAuthSession: Unable to find any valid "
                            "credential id.. unable to proceed"));
    QVERIFY(!mInterface->sessionExists(0));
    letPass(50);
    QCOMPARE(mSandbox.mechanisms(), QStringList());
}

void TestOpening::anErrorOfInitialiseClosesTheSession()
{
    mSandbox.script({{initialise, PluginStep::Err, {}, 600}, {initialise, PluginStep::Answer}});
    QVERIFY(!open());
    QVERIFY(!mInterface->sessionExists(mCredentials));
    QVERIFY(open());
    QVERIFY(mInterface->sessionExists(mCredentials));
}

void TestOpening::requestsBehindAFailedInitialiseAreAnswered()
{
    mSandbox.script({{initialise, PluginStep::Err, {}, 600, 3 * whileOpening}});
    later([this] {
        mInterface->token();
        mInterface->signIn();
    });
    QVERIFY(!open());
    QVERIFY(waitForAnswers(2));
    letPass(50);
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 704"), QStringLiteral("signIn 704")}));
    QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
}

void TestOpening::aPluginThatIsNotInitialisedInTimeIsGivenUp()
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

void TestOpening::aGivenUpPluginMayAnswerLate()
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
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 0")));
}

void TestOpening::requestsMadeInTheWaitAreSentAfterwards()
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
    QCOMPARE(mAnswers, QStringList({QStringLiteral("token 0"), QStringLiteral("ensureToken 0")}));
    QCOMPARE(mSandbox.mechanisms(),
             QStringList({initialise, token, QStringLiteral("privateMechanism_ensureToken")}));
}

void TestOpening::openingTheSameInTheWaitSucceedsAtOnce()
{
    answerInitialiseLate();
    int opened = 0;
    qint64 took = -1;
    later([&] {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < 100; ++i)
            opened += open(QStringLiteral("another-service")) ? 1 : 0;
        took = timer.elapsed();
        mInterface->token();
    });
    QVERIFY(open());
    QCOMPARE(opened, 100);
    QVERIFY(took < whileOpening);
    QVERIFY(waitForAnswers(1));
    QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, token}));
}

void TestOpening::openingAnotherInTheWaitIsRefused()
{
    answerInitialiseLate();
    const MessageLog log;
    bool refused = false;
    later([&] {
        refused = !mInterface->createAuthSession(QStringLiteral("other"), secret(),
                                                 QStringLiteral("s"), server, mCredentials);
    });
    QVERIFY(open());
    QVERIFY(refused);
    QVERIFY(log.hasCritical("A session is being opened; another cannot be opened meanwhile"));
    QVERIFY(mInterface->sessionExists(mCredentials));
    QCOMPARE(mSandbox.mechanisms(), QStringList(initialise));
}

void TestOpening::destroyingInTheWaitEndsIt()
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
    QCOMPARE(mAnswers, QStringList(QStringLiteral("token 405")));
    QVERIFY(open());
}

void TestOpening::theInterfaceMayGoInTheWait()
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

void TestOpening::theApplicationMayEndInTheWait()
{
    answerInitialiseLate();
    bool opened = true;
    // As in an application: a slot of the main loop opens the session, another event ends it all.
    QTimer::singleShot(0, this, [&] { opened = open(); });
    later([] { QCoreApplication::quit(); });
    QElapsedTimer timer;
    timer.start();
    QCoreApplication::exec();
    QVERIFY(timer.elapsed() < 5000);
    QVERIFY(!opened);
    QVERIFY(!mInterface->sessionExists(mCredentials));
    QVERIFY(open());
}

int main(int argc, char** argv)
{
    return runInSession<TestOpening>(argc, argv);
}

#include "tst_opening.moc"
