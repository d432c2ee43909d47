// SPDX-License-Identifier: LGPL-2.1-or-later
// A set-up of which one step fails: one answer, nothing left behind, and the next one succeeds.
#include "account/accountfixture.h"
#include "configure/kelconfigure.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/rows.h"
#include "support/sqlitechange.h"

#include <QTimer>

#include <csignal>

using namespace KelTest;
using facadecalls::failure;

namespace {

const QString initialise = "initialise"_s;

} // namespace

#define VERIFY_FAILED(setUp, status)                                                               \
    do {                                                                                           \
        QCOMPARE(lines(), QStringList(failure(setUp, status)));                                    \
        QCOMPARE(mIdentitiesInTheSlot, QList<quint32>());                                          \
        QCOMPARE(mAccountsInTheSlot, QList<QVariantList>());                                       \
        QCOMPARE(identities(), QList<quint32>());                                                  \
        QCOMPARE(deviceAccounts(), QList<QVariantList>());                                         \
    } while (false)

class TestSetUpFailures : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void whatThePluginSaysIsTakenBackAndPassedOn_data()
    {
        setUpRows<bool, int, int>({"whileOpening", "code", "status"},
                                  {{"initialise", true, 603, 806},
                                   {"service", false, 504, 504},
                                   {"network", false, 404, 404},
                                   {"plugin", false, 615, 615},
                                   {"not initialised", false, 702, 702},
                                   {"a status without a name", false, 512, 512}});
    }
    void whatThePluginSaysIsTakenBackAndPassedOn()
    {
        const auto [whileOpening, code, status] =
            fetch<bool, int, int>("whileOpening", "code", "status");
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(setUp.mechanism);
        mSandbox.script({{mechanism, PluginStep::Err, {}, code}});
        makeFacade();
        fail(setUp);
        VERIFY_FAILED(setUp, status);
        QStringList asked{initialise};
        if (!whileOpening)
            asked.append(text(setUp.mechanism));
        QCOMPARE(mSandbox.mechanisms(), asked);
        QVERIFY(succeeds(setUp));
    }

    void aPluginThatEndsFailsTheSetUp_data() { setUpRows("whileOpening", "initialise", "request"); }
    void aPluginThatEndsFailsTheSetUp()
    {
        QFETCH(bool, whileOpening);
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(setUp.mechanism);
        mSandbox.script({{mechanism, PluginStep::Die}});
        makeFacade();
        fail(setUp);
        // The sign-on daemon's "unknown".
        VERIFY_FAILED(setUp, whileOpening ? 806 : 1);
        QVERIFY(succeeds(setUp));
    }

    void aDaemonThatEndsFailsTheSetUp_data() { aPluginThatEndsFailsTheSetUp_data(); }
    void aDaemonThatEndsFailsTheSetUp()
    {
        QFETCH(bool, whileOpening);
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(setUp.mechanism);
        mSandbox.script({{mechanism, PluginStep::Hang}});
        makeFacade();
        bool killed = false;
        whenAsked(mechanism, [&] { killed = mSandbox.killDaemon(); });
        fail(setUp);
        QVERIFY(killed);
        // The sign-on library's "internal communication".
        VERIFY_FAILED(setUp, whileOpening ? 806 : 3);
        QVERIFY(succeeds(setUp));
    }

    void aDaemonThatCannotBeStartedStoresNothing_data() { setUpRows(); }
    void aDaemonThatCannotBeStartedStoresNothing()
    {
        const SetUp setUp = setUpWithFacade();
        letPass(50); // the facade's own first call starts the daemon
        QVERIFY(mSandbox.killDaemon());
        mSandbox.setDaemonInstalled(false);
        const MessageLog log;
        fail(setUp);
        mSandbox.setDaemonInstalled(true);
        VERIFY_FAILED(setUp, 800);
        QVERIFY(log.hasCritical("The sign-on daemon cannot be started"));
        QVERIFY(
            log.hasCritical("processCredentialStoringStatusUpdate: Failed to store credentials"));
        QCOMPARE(mSandbox.mechanisms(), QStringList());
        QVERIFY(succeeds(setUp));
    }

    void aDaemonThatEndsBeforeItStoresIsStartedAgain_data() { setUpRows(); }
    void aDaemonThatEndsBeforeItStoresIsStartedAgain()
    {
        const SetUp setUp = setUpWithFacade();
        letPass(50);
        const pid_t daemon = SessionSandbox::daemonProcessId();
        QVERIFY(daemon > 1);
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        QTimer::singleShot(200, this, [daemon] { ::kill(daemon, SIGKILL); });
        QVERIFY(succeeds(setUp));
        QVERIFY(SessionSandbox::daemonProcessId() != daemon);
    }

    void aDaemonWithoutItsDatabaseStoresNothing_data() { setUpRows(); }
    void aDaemonWithoutItsDatabaseStoresNothing()
    {
        const SetUp setUp = setUpWithFacade();
        QVERIFY(setCredentialsReadable(false));
        const MessageLog log;
        setUp.start(*mAccounts, true);
        const bool once = answersOnce();
        QVERIFY(setCredentialsReadable(true));
        QVERIFY(once);
        QCOMPARE(lines(), QStringList(failure(setUp, 800)));
        QVERIFY(
            log.hasCritical("processCredentialStoringStatusUpdate: Failed to store credentials"));
        QCOMPARE(identities(), QList<quint32>());
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        QVERIFY(succeeds(setUp));
    }

    void aDaemonThatDoesNotStoreInTimeFailsTheSetUp_data() { setUpRows(); }
    void aDaemonThatDoesNotStoreInTimeFailsTheSetUp()
    {
        const SetUp setUp = setUpWithFacade();
        letPass(50);
        mAccounts->findChild<KelAccount::KelConfigure*>()->setStoreTimeout(300);
        const pid_t daemon = SessionSandbox::daemonProcessId();
        QVERIFY(daemon > 1);
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        const MessageLog log;
        fail(setUp);
        QCOMPARE(::kill(daemon, SIGCONT), 0);
        VERIFY_FAILED(setUp, 800);
        QVERIFY(log.hasCritical("The sign-on daemon did not store the credentials in time"));
        mAccounts->findChild<KelAccount::KelConfigure*>()->setStoreTimeout(10000);
        // What it stores when it goes on is taken out again.
        QVERIFY(succeeds(setUp));
    }

    void anAccountThatCannotBeCreatedTakesTheSetUpBack_data() { setUpRows(); }
    void anAccountThatCannotBeCreatedTakesTheSetUpBack()
    {
        const SetUp setUp = setUpWithFacade();
        const QByteArray folder = qgetenv("ACCOUNTS");
        QTimer::singleShot(0, this, [] { qputenv("ACCOUNTS", "/proc/nonexistent"); });
        const MessageLog log;
        fail(setUp); // looks for an account before the event loop runs
        qputenv("ACCOUNTS", folder);
        VERIFY_FAILED(setUp, 805);
        QVERIFY(log.hasCritical(setUp.notConfigured));
        QVERIFY(log.hasCritical("Failed to get account manager instance"));
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism)}));
        QVERIFY(succeeds(setUp));
    }

    void anAccountThatTheDatabaseRefusesTakesTheSetUpBack_data() { setUpRows(); }
    void anAccountThatTheDatabaseRefusesTakesTheSetUpBack()
    {
        const SetUp setUp = setUpWithFacade();
        QVERIFY(sqliteChange(accountsFile(), "CREATE TRIGGER refuse BEFORE INSERT ON Settings "
                                             "BEGIN SELECT RAISE(ABORT, 'refused'); END"_s));
        const MessageLog log;
        fail(setUp);
        QVERIFY(sqliteChange(accountsFile(), "DROP TRIGGER refuse"_s));
        VERIFY_FAILED(setUp, 805);
        QVERIFY(log.hasCritical(setUp.notConfigured));
        QVERIFY(succeeds(setUp));
    }

    void anAccountThatIsNotStoredInTimeTakesTheSetUpBack_data() { setUpRows(); }
    void anAccountThatIsNotStoredInTimeTakesTheSetUpBack()
    {
        const SetUp setUp = setUpWithFacade();
        mAccounts->findChild<KelAccount::KelConfigure*>()->setAccountTimeout(300);
        std::unique_ptr<SqliteLock> lock;
        setUp.start(*mAccounts, true); // looks for an account before the event loop runs
        lock = std::make_unique<SqliteLock>(accountsFile());
        QVERIFY(lock->isHeld());
        const MessageLog log;
        QVERIFY(answersOnce());
        lock.reset();
        QCOMPARE(lines(), QStringList(failure(setUp, 805)));
        QVERIFY(log.hasCritical(setUp.notConfigured));
        QVERIFY(log.hasCritical("The accounts database did not take the account in time"));
        letPass(300);
        QCOMPARE(deviceAccounts(), QList<QVariantList>()); // not even later
        QCOMPARE(identities(), QList<quint32>());
        mAccounts->findChild<KelAccount::KelConfigure*>()->setAccountTimeout(30000);
        QVERIFY(succeeds(setUp));
    }

    void aDatabaseThatIsLockedForAMomentIsWaitedFor_data() { setUpRows(); }
    void aDatabaseThatIsLockedForAMomentIsWaitedFor()
    {
        const SetUp setUp = setUpWithFacade();
        setUp.start(*mAccounts, true); // looks for an account before the event loop runs
        auto lock = std::make_unique<SqliteLock>(accountsFile());
        QVERIFY(lock->isHeld());
        QStringList whileLocked{"not asked for"_s};
        whenAsked(text(setUp.mechanism), [&] {
            QTimer::singleShot(200, this, [&] {
                whileLocked = lines();
                lock.reset();
            });
        });
        QVERIFY(answersOnce());
        QCOMPARE(whileLocked, QStringList());
        const quint32 id = identities().value(0);
        QCOMPARE(lines(), QStringList(success(setUp, id)));
        QCOMPARE(deviceAccounts(), QList<QVariantList>({{"the-user-id"_s, QString::number(id)}}));
    }

    void theNextSetUpMayStartInTheSlotOfTheAnswer_data()
    {
        setUpRows<bool, int>({"whileOpening", "status"},
                             {{"initialise", true, 806}, {"request", false, 615}});
    }
    void theNextSetUpMayStartInTheSlotOfTheAnswer()
    {
        QFETCH(bool, whileOpening);
        QFETCH(int, status);
        const SetUp setUp = setUpOfTheRow();
        const QString mechanism = whileOpening ? initialise : text(setUp.mechanism);
        mSandbox.script({{mechanism, PluginStep::Err, {}, 615}});
        makeFacade();
        mRecorder->afterwards = [&](const QString&) {
            mRecorder->afterwards = nullptr;
            mSandbox.script(succeeding());
            setUp.start(*mAccounts, true);
        };
        setUp.start(*mAccounts, true);
        QVERIFY(answersOnce(2));
        QCOMPARE(identities().size(), 1);
        QCOMPARE(lines(),
                 QStringList({failure(setUp, status), success(setUp, identities().at(0))}));
        QCOMPARE(deviceAccounts().size(), 1);
    }

    void aFailedSetUpLeavesNoSession_data() { setUpRows(); }
    void aFailedSetUpLeavesNoSession()
    {
        const SetUp setUp = setUpOfTheRow();
        mSandbox.script({{text(setUp.mechanism), PluginStep::Err, {}, 615}});
        makeFacade();
        fail(setUp);
        VERIFY_FAILED(setUp, 615);
        mAccounts->close();
        mAccounts->ensureTokenAvailable(0);
        QVERIFY(answersOnce(3));
        QCOMPARE(lines().last(), "ensureTokenAvailableResponse(806)"_s);
        // An open session would be told of its end.
        QCOMPARE(mSandbox.mechanisms(), QStringList({initialise, text(setUp.mechanism)}));
        // Of an account that comes later, its own credentials are used.
        const quint32 credentials = storeIdentity();
        QVERIFY(createDeviceAccount(credentials));
        mSandbox.script({});
        mAccounts->ensureTokenAvailable(0);
        QVERIFY(answersOnce(4));
        QCOMPARE(lines().last(), "ensureTokenAvailableResponse(0)"_s);
        QCOMPARE(mSandbox.requests().value(1).data.value("UserName"_s).toString(), "earlier"_s);
    }

    void anEarlierIdentityIsLeftAlone()
    {
        const SetUp setUp = facadecalls::setUps()[0];
        const quint32 earlier = storeIdentity();
        QVERIFY(earlier > 0);
        mSandbox.script({{"signIn"_s, PluginStep::Err, {}, 615}});
        makeFacade();
        setUp.start(*mAccounts, true);
        COMPARE_ANSWER(failure(setUp, 615));
        QCOMPARE(identities(), QList<quint32>({earlier}));
    }

private:
    // Runs a set-up and keeps what is in the stores at the moment of its answer: the application
    // may end then.
    void fail(const SetUp& setUp)
    {
        mIdentitiesInTheSlot = {4711};
        mAccountsInTheSlot = {{4711}};
        mRecorder->afterwards = [this](const QString&) {
            mIdentitiesInTheSlot = identities();
            mAccountsInTheSlot = deviceAccounts();
        };
        setUp.start(*mAccounts, true);
        answersOnce();
        mRecorder->afterwards = nullptr;
    }

    QString accountsFile() const { return mSandbox.session().path("accounts/accounts.db"_s); }

    QList<quint32> mIdentitiesInTheSlot;
    QList<QVariantList> mAccountsInTheSlot;
};

KEL_TEST_IN_SESSION(TestSetUpFailures)
#include "tst_setupfailures.moc"
