// SPDX-License-Identifier: LGPL-2.1-or-later
// What is refused before anybody outside is asked, and in which order the reasons are looked at.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "signon/kelauthsessioninterface.h"
#include "support/messagelog.h"

#include <QCoreApplication>

using namespace KelTest;
using KelAccount::KelAuthSessionInterface;
using sessionoperations::failure;
using sessionoperations::line;
using sessionoperations::text;

namespace {

/// Everything that a set-up under way refuses, with good arguments and with bad ones.
void callEverything(KelAccount::KelAccounts& accounts)
{
    for (const auto& operation : sessionoperations::all()) {
        operation.call(accounts);
        for (const auto& bad : operation.badCalls)
            bad.call(accounts);
    }
    for (const auto& setUp : sessionoperations::setUps()) {
        setUp.start(accounts, true);
        setUp.startWithoutArguments(accounts);
    }
}

QStringList everythingRefused(int status)
{
    QStringList lines;
    for (const auto& operation : sessionoperations::all()) {
        for (int i = 0; i <= operation.badCalls.size(); ++i)
            lines.append(line(operation.refusal, status));
    }
    for (const auto& setUp : sessionoperations::setUps()) {
        lines.append(failure(setUp, status));
        lines.append(failure(setUp, status));
    }
    return lines;
}

} // namespace

class TestSessionRefusals : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void theTablesHoldEveryOperation();
    void nothingIsDoneBeforeInitialize_data();
    void nothingIsDoneBeforeInitialize();
    void anAccountThatIsPresentIsNamedBeforeBadArguments_data();
    void anAccountThatIsPresentIsNamedBeforeBadArguments();
    void aSetUpNeedsItsArguments_data();
    void aSetUpNeedsItsArguments();
    void anIncompleteRegistrationIsRefused_data();
    void anIncompleteRegistrationIsRefused();
    void whatIsNoRegistrationIsRefusedInTheSameOrder_data();
    void whatIsNoRegistrationIsRefusedInTheSameOrder();
    void aBadArgumentIsNamedBeforeTheMissingSession_data();
    void aBadArgumentIsNamedBeforeTheMissingSession();
    void withoutCredentialsThereIsNoSession_data();
    void withoutCredentialsThereIsNoSession();
    void onlyTheActiveAccountsCredentialsHaveAToken_data();
    void onlyTheActiveAccountsCredentialsHaveAToken();
    void everythingIsRefusedWhileCredentialsAreStored_data() { setUpRows(); }
    void everythingIsRefusedWhileCredentialsAreStored();
    void everythingIsRefusedWhileThePluginIsAsked_data();
    void everythingIsRefusedWhileThePluginIsAsked();
    void everythingIsRefusedWhileCredentialsAreRemoved_data() { setUpRows(); }
    void everythingIsRefusedWhileCredentialsAreRemoved();
    void closeIsNeverRefused();

private:
    /// The call's one answer is this refusal, after the call, and nothing was asked or stored.
    bool isRefused(const sessionoperations::Call& call, const QString& expected);
};

bool TestSessionRefusals::isRefused(const sessionoperations::Call& call, const QString& expected)
{
    mRecorder->clear();
    call(*mAccounts);
    if (!lines().isEmpty() || !answersOnce() || lines() != QStringList(expected)) {
        qWarning() << "expected" << expected << "and not" << lines();
        return false;
    }
    return mSandbox.requests().isEmpty() && identities().isEmpty() &&
           FakeRestHandler::sent().isEmpty();
}

void TestSessionRefusals::theTablesHoldEveryOperation()
{
    QCOMPARE(sessionoperations::all().size(), 5);
    QCOMPARE(sessionoperations::setUps().size(), 2);
}

void TestSessionRefusals::nothingIsDoneBeforeInitialize_data()
{
    QTest::addColumn<bool>("accountPresent");
    QTest::newRow("no account") << false;
    QTest::newRow("an account") << true;
}

void TestSessionRefusals::nothingIsDoneBeforeInitialize()
{
    QFETCH(bool, accountPresent);
    if (accountPresent)
        QVERIFY(createDeviceAccount(1));
    makeFacade(false);
    callEverything(*mAccounts);
    QCOMPARE(lines(), QStringList());
    const QStringList expected = everythingRefused(802);
    QVERIFY(answersOnce(expected.size()));
    QCOMPARE(lines(), expected);
    QCOMPARE(mSandbox.requests().size(), 0);
    QCOMPARE(identities(), QList<quint32>());
}

void TestSessionRefusals::anAccountThatIsPresentIsNamedBeforeBadArguments_data()
{
    setUpRows("enabled", ", enabled account", ", disabled account");
}

void TestSessionRefusals::anAccountThatIsPresentIsNamedBeforeBadArguments()
{
    QFETCH(bool, enabled);
    const SetUp setUp = setUpOfTheRow();
    QVERIFY(createDeviceAccount(17, enabled));
    makeFacade();
    QVERIFY(isRefused(setUp.startWithoutArguments, failure(setUp, 803)));
    for (const bool configureOnDb : {true, false}) {
        const auto start = [&](KelAccounts& a) { setUp.start(a, configureOnDb); };
        QVERIFY(isRefused(start, failure(setUp, 803)));
    }
    QVERIFY(removeDeviceAccounts());
    QVERIFY(isRefused(setUp.startWithoutArguments, failure(setUp, 1001)));
}

void TestSessionRefusals::aSetUpNeedsItsArguments_data()
{
    QTest::addColumn<QString>("userName");
    QTest::addColumn<QString>("password");
    QTest::newRow("no name") << QString() << text("p");
    QTest::newRow("no password") << text("n") << QString();
    QTest::newRow("neither") << QString() << QString();
}

void TestSessionRefusals::aSetUpNeedsItsArguments()
{
    QFETCH(QString, userName);
    QFETCH(QString, password);
    makeFacade();
    const auto call = [&](KelAccounts& a) { a.signInAndConfigure(userName, password, true); };
    QVERIFY(isRefused(call, text("signInAndConfigureResponse(1001, {})")));
    QVERIFY(succeeds(sessionoperations::setUps()[0]));
}

void TestSessionRefusals::anIncompleteRegistrationIsRefused_data()
{
    QTest::addColumn<QString>("userName");
    QTest::addColumn<QString>("mobile");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("password");
    const QString none;
    const QString name = text("n");
    const QString mobile = text("+358401234567");
    const QString address = text("a@b.example");
    const QString password = text("p");
    QTest::newRow("nothing") << none << none << none << none;
    QTest::newRow("address without password") << none << none << address << none;
    QTest::newRow("all but the password") << name << mobile << address << none;
    QTest::newRow("name and mobile without password") << name << mobile << none << none;
    QTest::newRow("password alone") << none << none << none << password;
    QTest::newRow("mobile without any name") << none << mobile << none << password;
    QTest::newRow("name without mobile") << name << none << none << password;
}

void TestSessionRefusals::anIncompleteRegistrationIsRefused()
{
    QFETCH(QString, userName);
    QFETCH(QString, mobile);
    QFETCH(QString, address);
    QFETCH(QString, password);
    makeFacade();
    KelAccount::RegistrationInfo info;
    info.setUsername(userName);
    info.setMobilePhoneNumber(mobile);
    info.setEmailAddress(address);
    info.setPassword(password);
    const QString refusal = text("registerAccountResponse(1001, {})");
    QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(info, true); }, refusal));
    QObject* const object = &info;
    QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(object, false); }, refusal));
}

void TestSessionRefusals::whatIsNoRegistrationIsRefusedInTheSameOrder_data()
{
    QTest::addColumn<bool>("null");
    QTest::newRow("null") << true;
    QTest::newRow("another class") << false;
}

void TestSessionRefusals::whatIsNoRegistrationIsRefusedInTheSameOrder()
{
    QFETCH(bool, null);
    QObject other;
    QObject* const object = null ? nullptr : &other;
    const auto call = [&](KelAccounts& a) { a.registerAccount(object, true); };
    const SetUp registration = sessionoperations::setUps()[1];
    makeFacade(false);
    QVERIFY(isRefused(call, failure(registration, 802)));
    makeFacade();
    QVERIFY(createDeviceAccount(17));
    QVERIFY(isRefused(call, failure(registration, 803)));
    QVERIFY(removeDeviceAccounts());
    QVERIFY(isRefused(call, failure(registration, 1001)));
    QVERIFY(succeeds(registration));
}

void TestSessionRefusals::aBadArgumentIsNamedBeforeTheMissingSession_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("badCall");
    const auto operations = sessionoperations::all();
    int rows = 0;
    for (int i = 0; i < operations.size(); ++i) {
        for (int j = 0; j < operations[i].badCalls.size(); ++j, ++rows)
            QTest::addRow("%s, no %s", operations[i].name, operations[i].badCalls[j].name)
                << i << j;
    }
    QCOMPARE(rows, 5);
}

void TestSessionRefusals::aBadArgumentIsNamedBeforeTheMissingSession()
{
    QFETCH(int, badCall);
    const Operation operation = operationOfTheRow();
    makeFacade();
    QVERIFY(isRefused(operation.badCalls.at(badCall).call, line(operation.refusal, 1001)));
    // With an account there would be a session, and it is refused all the same.
    QVERIFY(createDeviceAccount(storeIdentity()));
    mRecorder->clear();
    operation.badCalls.at(badCall).call(*mAccounts);
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(line(operation.refusal, 1001)));
    QCOMPARE(mSandbox.requests().size(), 0);
}

void TestSessionRefusals::withoutCredentialsThereIsNoSession_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<bool>("disabledAccount");
    for (int i = 0; i < 5; ++i) {
        const char* const name = sessionoperations::all()[i].name;
        QTest::addRow("%s, no account", name) << i << false;
        QTest::addRow("%s, disabled account", name) << i << true;
    }
}

void TestSessionRefusals::withoutCredentialsThereIsNoSession()
{
    QFETCH(bool, disabledAccount);
    const Operation operation = operationOfTheRow();
    if (disabledAccount)
        QVERIFY(createDeviceAccount(17, false));
    makeFacade();
    const MessageLog log;
    QVERIFY(isRefused(operation.call, line(operation.refusal, 806)));
    QVERIFY(log.hasCritical("KelAuthSessionInterface::createAuthSession: Unable to find any valid "
                            "credential id.. unable to proceed"));
}

void TestSessionRefusals::onlyTheActiveAccountsCredentialsHaveAToken_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<int>("difference"); // to the account's credentials; -1 stands for 0
    QTest::addColumn<int>("status");
    QTest::newRow("0 for the account's") << true << -1 << 0;
    QTest::newRow("the account's own") << true << 0 << 0;
    QTest::newRow("others") << true << 1 << 1001;
    QTest::newRow("a disabled account's own") << false << 0 << 1001;
    QTest::newRow("0 with a disabled account") << false << -1 << 806;
}

void TestSessionRefusals::onlyTheActiveAccountsCredentialsHaveAToken()
{
    QFETCH(bool, enabled);
    QFETCH(int, difference);
    QFETCH(int, status);
    const quint32 credentials = storeIdentity();
    QVERIFY(createDeviceAccount(credentials, enabled));
    makeFacade();
    mAccounts->ensureTokenAvailable(difference < 0 ? 0 : credentials + unsigned(difference));
    QCOMPARE(lines(), QStringList());
    QVERIFY(answersOnce());
    QCOMPARE(lines(), QStringList(text("ensureTokenAvailableResponse(%1)").arg(status)));
    const QStringList asked{text("initialise"), text("privateMechanism_ensureToken")};
    QCOMPARE(mSandbox.mechanisms(), status == 0 ? asked : QStringList());
}

void TestSessionRefusals::everythingIsRefusedWhileCredentialsAreStored()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    setUp.start(*mAccounts, true);
    // Another program's account does not change these answers, but the set-up's own in the end.
    QVERIFY(createDeviceAccount(17));
    callEverything(*mAccounts);
    mAccounts->isUserIdAvailable(text("somebody"));
    QCOMPARE(lines(), QStringList());

    QStringList expected = everythingRefused(804);
    QVERIFY(answersOnce(expected.size() + 1));
    expected.append(failure(setUp, 803));
    QCOMPARE(lines(), expected);
    QCOMPARE(identities(), QList<quint32>());
    QCOMPARE(deviceAccounts().size(), 1);
    QCOMPARE(mSandbox.mechanisms(), QStringList({text("initialise"), text(setUp.mechanism)}));
    QCOMPARE(FakeRestHandler::sent().size(), 1); // an operation of the service went on its way
}

void TestSessionRefusals::everythingIsRefusedWhileThePluginIsAsked_data()
{
    setUpRows("whileOpening", ", initialise", ", request");
}

void TestSessionRefusals::everythingIsRefusedWhileThePluginIsAsked()
{
    QFETCH(bool, whileOpening);
    const SetUp setUp = setUpOfTheRow();
    const QString mechanism = whileOpening ? text("initialise") : text(setUp.mechanism);
    makeFacade();
    mSandbox.script({{mechanism, PluginStep::Hang}});
    QStringList beforeTheEvents;
    whenAsked(mechanism, [&] {
        callEverything(*mAccounts);
        mAccounts->isUserIdAvailable(text("somebody"));
        beforeTheEvents = lines();
        // The plugin's end is the end of the wait.
        QVERIFY(killPlugin());
    });
    setUp.start(*mAccounts, true);

    const QStringList expected = everythingRefused(804);
    QVERIFY(answersOnce(expected.size() + 1));
    QCOMPARE(beforeTheEvents, QStringList());
    QCOMPARE(lines().mid(0, expected.size()), expected);
    QVERIFY(lines().last().startsWith(text(setUp.answer) + QLatin1Char('(')));
    QVERIFY(!lines().last().startsWith(text(setUp.answer) + QLatin1String("(0")));
    QCOMPARE(FakeRestHandler::sent().size(), 1);
    QCOMPARE(identities(), QList<quint32>());
    QVERIFY(succeeds(setUp));
}

void TestSessionRefusals::everythingIsRefusedWhileCredentialsAreRemoved()
{
    const SetUp setUp = setUpOfTheRow();
    makeFacade();
    mSandbox.script({{text(setUp.mechanism), PluginStep::Err, {}, 615}});
    // After the facade, which has decided by then to take the set-up back.
    auto* const session = mAccounts->findChild<KelAuthSessionInterface*>();
    QVERIFY(session);
    const auto callThem = [this] { callEverything(*mAccounts); };
    connect(session, &KelAuthSessionInterface::signInResponse, this, callThem);
    connect(session, &KelAuthSessionInterface::registerationCompleted, this, callThem);
    setUp.start(*mAccounts, true);

    QStringList expected = everythingRefused(804);
    expected.append(failure(setUp, 615));
    QVERIFY(answersOnce(expected.size()));
    QCOMPARE(lines(), expected);
    session->disconnect(this);
    QVERIFY(succeeds(setUp));
}

void TestSessionRefusals::closeIsNeverRefused()
{
    const QString closed = text("closeResponse(0)");
    makeFacade(false);
    mAccounts->close();
    QCOMPARE(lines(), QStringList(closed));
    makeFacade();
    mAccounts->close();
    QCOMPARE(lines(), QStringList(closed));
    const SetUp setUp = sessionoperations::setUps()[0];
    setUp.start(*mAccounts, true);
    mAccounts->close();
    QCOMPARE(lines(), QStringList({closed, closed}));
    QVERIFY(answersOnce(3));
    QCOMPARE(lines().last(), success(setUp, identities().value(0)));
    QCOMPARE(mSandbox.mechanisms(), QStringList({text("initialise"), text("signIn")}));
}

int main(int argc, char** argv)
{
    return runInSession<TestSessionRefusals>(argc, argv);
}

#include "tst_sessionrefusals.moc"
