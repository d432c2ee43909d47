// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls of a client that need the sign-on daemon: the real one, with a plugin that does what the
// test says.
#include "account/accountfixture.h"
#include "account/kelaccountsprivate.h"
#include "client/clientcalls.h"
#include "client/threadnames.h"
#include "client/worker.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"

#include <kelaccount/client.h>
#include <kelaccount/kelaccounts.h>
#include <kelaccount/profileinfo.h>

#include <QElapsedTimer>

using namespace KelAccount;
using namespace KelTest;

namespace {

/// What a client has on its own thread, on this one.
struct HereOnly
{
    using Operation = std::function<void(KelAccountsPrivate&)>;

    HereOnly() = default;
    HereOnly(const HereOnly&) = delete;
    HereOnly& operator=(const HereOnly&) = delete;
    ~HereOnly() { handOver->end(); }

    HandOver::Call ask(const Operation& operation) const
    {
        const auto call = std::make_shared<CallState>(handOver, "");
        call->perform = [operation](KelAccountsPrivate& accounts) {
            operation(accounts);
            return std::nullopt;
        };
        handOver->open(call);
        handOver->perform(call);
        return call;
    }

    std::shared_ptr<HandOver> handOver = std::make_shared<HandOver>();
    Worker worker{handOver};
};

} // namespace

class TestClientSession : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init()
    {
        QVERIFY(reset());
        mClient = ready();
        mAnswers.lines.clear();
    }
    void cleanup()
    {
        mClient.reset();
        endFacade();
        QVERIFY(waitUntil([] { return !runsThread("kelaccount"); }));
    }

    void aSetUpGivesItsValues();
    void aSetUpThatIsCancelledLeavesNothing_data();
    void aSetUpThatIsCancelledLeavesNothing();
    void aSetUpThatSucceedsWhenItIsCancelledLeavesNothing();
    void aSetUpThatIsCancelledBeforeItsClientEndsLeavesNothing();
    void aSetUpWithoutItsClientLeavesNothing_data();
    void aSetUpWithoutItsClientLeavesNothing();
    void nothingIsKeptOfAProfile_data();
    void nothingIsKeptOfAProfile();
    void aSessionThatIsBeingOpenedEndsWithItsClient();
    void callsGoOnWhileASessionIsBeingOpened();
    void aUserIsSignedOut();
    void aClientAndAFacadeDoNotMeet();

private:
    using Begin = std::function<CallBase(Client&, Answers&, QObject*)>;

    static std::unique_ptr<Client> ready()
    {
        auto client = std::make_unique<Client>();
        client->initialize("the-consumer-key"_s, "the-consumer-secret"_s, Server::Production,
                           "the-service"_s);
        return client;
    }
    bool waitForLines(int count)
    {
        return waitUntil([this, count] { return mAnswers.lines.size() >= count; });
    }
    /// A set-up that is with the plugin, as long as that waits.
    CallBase setUpThatHangs(const QString& mechanism);
    bool isNothingLeft() const { return identities().isEmpty() && deviceAccounts().isEmpty(); }

    std::unique_ptr<Client> mClient;
    Answers mAnswers;
};

void TestClientSession::aSetUpGivesItsValues()
{
    KelAccount::SetUp values;
    mClient->signInAndConfigure("alice"_s, "the-password"_s)
        .then(this, [&values](const KelAccount::SetUp& result) { values = result; });
    QVERIFY(waitUntil([&values] { return values.credentialsId != 0; }));
    QCOMPARE(values.userId, "the-user-id"_s);
    QCOMPARE(values.loginId, "the-login-id"_s);
    QCOMPARE(values.serviceAccountId, "the-account-id"_s);
    QCOMPARE(values.emailAddress, "the-address@mail.example"_s);
    QCOMPARE(identities(), QList<quint32>{values.credentialsId});
    QCOMPARE(deviceAccounts(),
             QList<QVariantList>({{"the-user-id"_s, QString::number(values.credentialsId)}}));

    mAnswers.expect(mClient->isKeLAccountConfigured(), this);
    mAnswers.expect(mClient->downloadProfile(), this);
    mAnswers.expect(mClient->ensureTokenAvailable(values.credentialsId), this);
    mAnswers.expect(mClient->signInAndConfigure("alice"_s, "the-password"_s), this);
    QVERIFY(waitForLines(4));
    mAnswers.lines.sort();
    QCOMPARE(mAnswers.lines, QStringList({
                                 "downloadProfile:  "_s,
                                 "ensureTokenAvailable: done"_s,
                                 "isKeLAccountConfigured: yes"_s,
                                 "signInAndConfigure failed: 803"_s,
                             }));
}

// ---- Nothing is left
// -----------------------------------------------------------------------------

CallBase TestClientSession::setUpThatHangs(const QString& mechanism)
{
    mSandbox.script({{mechanism, PluginStep::Hang}});
    const auto call = mClient->signInAndConfigure("alice"_s, "the-password"_s);
    mAnswers.expect(call, this);
    if (!waitUntil([&] { return mSandbox.mechanisms().contains(mechanism); }))
        mAnswers.lines.append("the plugin was not asked"_s);
    return call;
}

void TestClientSession::aSetUpThatIsCancelledLeavesNothing_data()
{
    QTest::addColumn<QString>("mechanism");
    QTest::newRow("while its session is opened") << "initialise"_s;
    QTest::newRow("while the plugin signs in") << "signIn"_s;
}

void TestClientSession::aSetUpThatIsCancelledLeavesNothing()
{
    QFETCH(QString, mechanism);
    const CallBase call = setUpThatHangs(mechanism);
    QCOMPARE(identities().size(), 1);
    QCOMPARE(mAnswers.lines, QStringList());
    call.cancel();
    QVERIFY(waitUntil([this] { return isNothingLeft(); }));
    // And the next one is another's business, once all of that is over.
    mSandbox.script(succeeding());
    const auto triesAgain = [this] {
        mAnswers.lines.clear();
        mAnswers.expect(mClient->signInAndConfigure("alice"_s, "the-password"_s), this);
        return waitForLines(1) && mAnswers.lines.constFirst() != "signInAndConfigure failed: 804"_s;
    };
    QVERIFY(waitUntil(triesAgain));
    QCOMPARE(mAnswers.lines, QStringList("signInAndConfigure: the-account-id the-login-id "
                                         "the-user-id the-address@mail.example"_s));
}

// The order to take it back comes when it has succeeded, or not at all.
void TestClientSession::aSetUpThatSucceedsWhenItIsCancelledLeavesNothing()
{
    const HereOnly client;
    bool isComplete = false;
    client.ask([&](KelAccountsPrivate& accounts) {
        connect(&accounts, &KelAccountsPrivate::signInAndConfigureResponse, this,
                [&] { isComplete = deviceAccounts().size() == 1; });
        accounts.initialize("the-consumer-key"_s, "the-consumer-secret"_s, 2, "the-service"_s, {});
    });
    const auto call = client.ask([](KelAccountsPrivate& accounts) {
        accounts.signInAndConfigure("alice"_s, "the-password"_s, true);
    });
    QVERIFY(waitUntil([this] { return mSandbox.mechanisms().contains("signIn"_s); }));
    client.handOver->setClientsBell(nullptr);
    HandOver::cancel(call);
    QVERIFY(waitUntil([&] { return isComplete; }));
    QVERIFY(waitUntil([this] { return isNothingLeft(); }));
}

// When the accounts framework has been given the account.
void TestClientSession::aSetUpThatIsCancelledBeforeItsClientEndsLeavesNothing()
{
    auto client = std::make_unique<HereOnly>();
    HandOver::Call call;
    const auto end = [&] {
        client->handOver->setClientsBell(nullptr);
        HandOver::cancel(call);
        client->handOver->end();
        client.reset();
    };
    client->ask([&](KelAccountsPrivate& accounts) {
        accounts.initialize("the-consumer-key"_s, "the-consumer-secret"_s, 2, "the-service"_s, {});
        connect(accounts.findChild<KelAuthSessionInterface*>(),
                &KelAuthSessionInterface::signInResponse, this, end);
    });
    call = client->ask([](KelAccountsPrivate& accounts) {
        accounts.signInAndConfigure("alice"_s, "the-password"_s, true);
    });
    QVERIFY(waitUntil([&] { return !client; }));
    QVERIFY(waitUntil([this] { return isNothingLeft(); }));
    letPass(100);
    QVERIFY(isNothingLeft());
}

void TestClientSession::aSetUpWithoutItsClientLeavesNothing_data()
{
    aSetUpThatIsCancelledLeavesNothing_data();
}

void TestClientSession::aSetUpWithoutItsClientLeavesNothing()
{
    QFETCH(QString, mechanism);
    const CallBase call = setUpThatHangs(mechanism);
    QCOMPARE(identities().size(), 1);
    mClient.reset();
    QVERIFY(call.isFinished());
    QVERIFY(waitUntil([this] { return isNothingLeft(); }));
    QCOMPARE(mAnswers.lines, QStringList());
}

void TestClientSession::nothingIsKeptOfAProfile_data()
{
    QTest::addColumn<int>("action");
    QTest::newRow("that came") << int(PluginStep::Answer);
    QTest::newRow("that did not") << int(PluginStep::Err);
}

void TestClientSession::nothingIsKeptOfAProfile()
{
    QFETCH(int, action);
    mCredentials = storeIdentity();
    QVERIFY(createDeviceAccount(mCredentials));
    mSandbox.script({{"privateMechanism_downloadProfile"_s, action, {}, 500}});
    const HereOnly client;
    QList<ProfileInfo*> kept;
    client.ask([](KelAccountsPrivate& accounts) {
        accounts.initialize("the-consumer-key"_s, "the-consumer-secret"_s, 2, "the-service"_s, {});
    });
    bool isAnswered = false;
    const auto call = client.ask([&](KelAccountsPrivate& accounts) {
        connect(&accounts, &KelAccountsPrivate::downloadProfileResponse, this,
                [&kept, &isAnswered, its = &accounts] {
                    kept = its->findChildren<ProfileInfo*>();
                    isAnswered = true;
                });
        accounts.downloadProfile();
    });
    QVERIFY(waitUntil([&] { return isAnswered; }));
    QVERIFY(HandOver::isFinished(*call));
    QCOMPARE(kept.size(), 0);
}

// ---- Opening
// -------------------------------------------------------------------------------------

void TestClientSession::aSessionThatIsBeingOpenedEndsWithItsClient()
{
    mCredentials = storeIdentity();
    QVERIFY(createDeviceAccount(mCredentials));
    mSandbox.script({{"initialise"_s, PluginStep::Hang}});
    const auto call = mClient->downloadProfile();
    mAnswers.expect(call, this);
    QVERIFY(mSandbox.waitForRequests(1));
    mClient.reset();
    QVERIFY(call.isFinished());
    // Long before the session would be given up.
    QVERIFY(waitUntil([] { return !runsThread("kelaccount"); }));
    QCOMPARE(mAnswers.lines, QStringList());
}

void TestClientSession::callsGoOnWhileASessionIsBeingOpened()
{
    mCredentials = storeIdentity();
    QVERIFY(createDeviceAccount(mCredentials));
    mSandbox.script({{"initialise"_s, PluginStep::Hang}});
    const auto opening = mClient->downloadProfile();
    mAnswers.expect(opening, this);
    QVERIFY(mSandbox.waitForRequests(1));
    mAnswers.expect(mClient->isKeLAccountConfigured(), this);
    mAnswers.expect(mClient->retrieveCountryCode(), this);
    QVERIFY(waitForLines(2));
    opening.cancel();
    mAnswers.expect(mClient->isKeLAccountConfigured(), this);
    QVERIFY(waitForLines(3));
    QCOMPARE(mAnswers.lines.filter("downloadProfile"_s), QStringList());
}

// ---- Others
// --------------------------------------------------------------------------------------

void TestClientSession::aUserIsSignedOut()
{
    mAnswers.expect(mClient->signInAndConfigure("alice"_s, "the-password"_s), this);
    QVERIFY(waitForLines(1));
    QVERIFY(!isNothingLeft());
    mAnswers.expect(mClient->signOut(), this);
    QVERIFY(waitForLines(2));
    QCOMPARE(mAnswers.lines.last(), "signOut: done"_s);
    QVERIFY(isNothingLeft());
    mAnswers.expect(mClient->signOut(), this);
    QVERIFY(waitForLines(3));
    QCOMPARE(mAnswers.lines.last(), "signOut: done"_s);
}

void TestClientSession::aClientAndAFacadeDoNotMeet()
{
    mCredentials = storeIdentity();
    QVERIFY(createDeviceAccount(mCredentials));
    mSandbox.script({});
    makeFacade();
    constexpr int rounds = 5;
    for (int i = 0; i < rounds; ++i) {
        mAnswers.expect(mClient->downloadProfile(), this);
        mAccounts->downloadProfile();
    }
    QVERIFY(waitForLines(rounds));
    QVERIFY(waitUntil([this] { return lines().size() == rounds; }));
    QCOMPARE(mAnswers.lines.count("downloadProfile:  "_s), rounds);
    for (const QString& line : lines())
        QVERIFY2(line.startsWith("downloadProfileResponse(0"_s), qPrintable(line));
}

KEL_TEST_IN_SESSION(TestClientSession)

#include "tst_clientsession.moc"
