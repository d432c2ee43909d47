// SPDX-License-Identifier: LGPL-2.1-or-later
// What is refused before anybody outside is asked, and in which order the reasons are looked at.
#include "account/accountfixture.h"
#include "account/fakeresthandler.h"
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"

#include <QCoreApplication>

using namespace KelTest;
using facadecalls::failure;
using facadecalls::line;
using KelAccount::KelAuthSessionInterface;

namespace {

/// Everything that a set-up under way refuses, with good arguments and with bad ones.
void callEverything(KelAccount::KelAccounts& accounts)
{
    for (const auto& operation : facadecalls::ofTheSession()) {
        operation.call(accounts);
        for (const auto& bad : operation.badCalls())
            bad.call(accounts);
    }
    for (const auto& setUp : facadecalls::setUps()) {
        setUp.start(accounts, true);
        setUp.startWithoutArguments(accounts);
    }
}

QStringList everythingRefused(int status)
{
    QStringList lines;
    for (const auto& operation : facadecalls::ofTheSession()) {
        for (int i = 0; i <= operation.badCalls().size(); ++i)
            lines.append(line(operation.refusal, status));
    }
    for (const auto& setUp : facadecalls::setUps()) {
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

    void nothingIsDoneBeforeInitialize_data()
    {
        QTest::addColumn<bool>("accountPresent");
        QTest::newRow("no account") << false;
        QTest::newRow("an account") << true;
    }
    void nothingIsDoneBeforeInitialize()
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

    void anAccountThatIsPresentIsNamedBeforeBadArguments_data()
    {
        setUpRows("enabled", "enabled account", "disabled account");
    }
    void anAccountThatIsPresentIsNamedBeforeBadArguments()
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

    void aSetUpNeedsItsArguments_data()
    {
        columns<QString, QString>("userName", "password");
        QTest::newRow("no name") << QString() << "p"_s;
        QTest::newRow("no password") << "n"_s << QString();
        QTest::newRow("neither") << QString() << QString();
    }
    void aSetUpNeedsItsArguments()
    {
        QFETCH(QString, userName);
        QFETCH(QString, password);
        makeFacade();
        const auto call = [&](KelAccounts& a) { a.signInAndConfigure(userName, password, true); };
        QVERIFY(isRefused(call, "signInAndConfigureResponse(1001, {})"_s));
        QVERIFY(succeeds(facadecalls::setUps()[0]));
    }

    void anIncompleteRegistrationIsRefused_data()
    {
        columns<QString, QString, QString, QString>("userName", "mobile", "address", "password");
        const QString none;
        const QString name = "n"_s;
        const QString mobile = "+358401234567"_s;
        const QString address = "a@b.example"_s;
        const QString password = "p"_s;
        QTest::newRow("nothing") << none << none << none << none;
        QTest::newRow("address without password") << none << none << address << none;
        QTest::newRow("all but the password") << name << mobile << address << none;
        QTest::newRow("name and mobile without password") << name << mobile << none << none;
        QTest::newRow("password alone") << none << none << none << password;
        QTest::newRow("mobile without any name") << none << mobile << none << password;
        QTest::newRow("name without mobile") << name << none << none << password;
    }
    void anIncompleteRegistrationIsRefused()
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
        const QString refusal = "registerAccountResponse(1001, {})"_s;
        QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(info, true); }, refusal));
        QObject* const object = &info;
        QVERIFY(isRefused([&](KelAccounts& a) { a.registerAccount(object, false); }, refusal));
    }

    void whatIsNoRegistrationIsRefusedInTheSameOrder_data()
    {
        QTest::addColumn<bool>("null");
        QTest::newRow("null") << true;
        QTest::newRow("another class") << false;
    }
    void whatIsNoRegistrationIsRefusedInTheSameOrder()
    {
        QFETCH(bool, null);
        QObject other;
        QObject* const object = null ? nullptr : &other;
        const auto call = [&](KelAccounts& a) { a.registerAccount(object, true); };
        const SetUp registration = facadecalls::setUps()[1];
        makeFacade(false);
        QVERIFY(isRefused(call, failure(registration, 802)));
        makeFacade();
        QVERIFY(createDeviceAccount(17));
        QVERIFY(isRefused(call, failure(registration, 803)));
        QVERIFY(removeDeviceAccounts());
        QVERIFY(isRefused(call, failure(registration, 1001)));
        QVERIFY(succeeds(registration));
    }

    void aBadArgumentIsNamedBeforeTheMissingSession_data()
    {
        columns<int, int>("operation", "badCall");
        const auto operations = facadecalls::ofTheSession();
        for (int i = 0; i < operations.size(); ++i) {
            for (int j = 0; j < operations[i].badCalls().size(); ++j)
                QTest::addRow("%s, no %s", operations[i].name,
                              operations[i].badCalls()[j].name.constData())
                    << i << j;
        }
    }
    void aBadArgumentIsNamedBeforeTheMissingSession()
    {
        QFETCH(int, badCall);
        const Operation operation = operationOfTheRow();
        makeFacade();
        QVERIFY(isRefused(operation.badCalls().at(badCall).call, line(operation.refusal, 1001)));
        // With an account there would be a session, and it is refused all the same.
        QVERIFY(createDeviceAccount(storeIdentity()));
        mRecorder->clear();
        operation.badCalls().at(badCall).call(*mAccounts);
        COMPARE_ANSWER(line(operation.refusal, 1001));
        QCOMPARE(mSandbox.requests().size(), 0);
    }

    void withoutCredentialsThereIsNoSession_data()
    {
        operationRows<bool>({"disabledAccount"},
                            {{"no account", false}, {"disabled account", true}});
    }
    void withoutCredentialsThereIsNoSession()
    {
        QFETCH(bool, disabledAccount);
        const Operation operation = operationOfTheRow();
        if (disabledAccount)
            QVERIFY(createDeviceAccount(17, false));
        makeFacade();
        const MessageLog log;
        const auto call = [&](KelAccounts& a) { operation.call(a); };
        QVERIFY(isRefused(call, line(operation.refusal, 806)));
        QVERIFY(
            log.hasCritical("KelAuthSessionInterface::createAuthSession: Unable to find any valid "
                            "credential id.. unable to proceed"));
    }

    void onlyTheActiveAccountsCredentialsHaveAToken_data()
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
    void onlyTheActiveAccountsCredentialsHaveAToken()
    {
        const auto [enabled, difference, status] =
            fetch<bool, int, int>("enabled", "difference", "status");
        const quint32 credentials = storeIdentity();
        QVERIFY(createDeviceAccount(credentials, enabled));
        makeFacade();
        mAccounts->ensureTokenAvailable(difference < 0 ? 0 : credentials + unsigned(difference));
        QCOMPARE(lines(), QStringList());
        COMPARE_ANSWER("ensureTokenAvailableResponse(%1)"_s.arg(status));
        const QStringList asked{"initialise"_s, "privateMechanism_ensureToken"_s};
        QCOMPARE(mSandbox.mechanisms(), status == 0 ? asked : QStringList());
    }

    void everythingIsRefusedWhileCredentialsAreStored_data() { setUpRows(); }
    void everythingIsRefusedWhileCredentialsAreStored()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, true);
        // Another program's account does not change these answers, but the set-up's own in the end.
        QVERIFY(createDeviceAccount(17));
        callEverything(*mAccounts);
        mAccounts->isUserIdAvailable("somebody"_s);
        QCOMPARE(lines(), QStringList());

        QStringList expected = everythingRefused(804);
        QVERIFY(answersOnce(expected.size() + 1));
        expected.append(failure(setUp, 803));
        QCOMPARE(lines(), expected);
        QCOMPARE(identities(), QList<quint32>());
        QCOMPARE(deviceAccounts().size(), 1);
        QCOMPARE(mSandbox.mechanisms(), QStringList({"initialise"_s, text(setUp.mechanism)}));
        QCOMPARE(FakeRestHandler::sent().size(), 1); // an operation of the service went on its way
    }

    void everythingIsRefusedWhileThePluginIsAsked_data()
    {
        setUpRows("whileOpening", "initialise", "request");
    }
    void everythingIsRefusedWhileThePluginIsAsked()
    {
        QFETCH(bool, whileOpening);
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? "initialise"_s : text(setUp.mechanism);
        makeFacade();
        mSandbox.script({{mechanism, PluginStep::Hang}});
        QStringList beforeTheEvents;
        whenAsked(mechanism, [&] {
            callEverything(*mAccounts);
            mAccounts->isUserIdAvailable("somebody"_s);
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

    void everythingIsRefusedWhileCredentialsAreRemoved_data() { setUpRows(); }
    void everythingIsRefusedWhileCredentialsAreRemoved()
    {
        const SetUp setUp = setUpWithFacade();
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

    void closeIsNeverRefused()
    {
        const QString closed = "closeResponse(0)"_s;
        makeFacade(false);
        mAccounts->close();
        QCOMPARE(lines(), QStringList(closed));
        makeFacade();
        mAccounts->close();
        QCOMPARE(lines(), QStringList(closed));
        const SetUp setUp = facadecalls::setUps()[0];
        setUp.start(*mAccounts, true);
        mAccounts->close();
        QCOMPARE(lines(), QStringList({closed, closed}));
        QVERIFY(answersOnce(3));
        QCOMPARE(lines().last(), success(setUp, identities().value(0)));
        QCOMPARE(mSandbox.mechanisms(), QStringList({"initialise"_s, "signIn"_s}));
    }

private:
    /// The call's one answer is this refusal, after the call, and nothing was asked or stored.
    bool isRefused(const facadecalls::Call& call, const QString& expected)
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
};

KEL_TEST_IN_SESSION(TestSessionRefusals)
#include "tst_sessionrefusals.moc"
