// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing out of the device, with each step failing: what is left is what the steps before it left,
// and signing out again takes that away, too.
#include "account/accountsignout.h"
#include "account/kelaccountsprivate.h"
#include "configure/kelconfigure.h"
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"
#include "support/sqlitereader.h"

#include <SignOn/Error>
#include <SignOn/Identity>

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QTimer>

#include <csignal>
#include <thread>

using namespace KelTest;
using KelAccount::AccountSignOut;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelConfigure;

class TestStorySignOut : public SetUpFixture
{
    Q_OBJECT

public:
    enum Ending { Kill, Stop };
    Q_ENUM(Ending)

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM");
        mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
    }

    void init()
    {
        prepare(SignIn);
        QCOMPARE(succeedsNow(SignIn), QString());
        QVERIFY(!storedFor(identityNumber()).isEmpty());
        operations();
    }

    void cleanup()
    {
        allow();
        qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
        DaemonControl::setInstalled(sessionFolder(), true);
        if (mWaking.joinable())
            mWaking.join();
        tidyUp();
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void everythingIsDeleted()
    {
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), QList<int>{200});
        expectSignedOut();
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    // As another client of the daemon is told.
    void theStoredSessionGoesAfterTheTokenAndBeforeTheCredentials()
    {
        SignOn::Identity* const identity =
            SignOn::Identity::existingIdentity(quint32(identityNumber()), this);
        QSignalSpy known(identity, &SignOn::Identity::info);
        identity->queryInfo();
        QVERIFY(waitUntil([&] { return !known.isEmpty(); }));
        QList<int> tokens;
        QList<QVariantList> credentials;
        connect(identity, &SignOn::Identity::signedOut, this, [&] {
            tokens = deletions();
            credentials = identities();
        });
        QCOMPARE(signOut(), 0);
        delete identity;
        QCOMPARE(tokens, QList<int>{200});
        QCOMPARE(credentials.size(), 1);
        expectSignedOut();
    }

    void whatIsNotThereIsNotMissed_data()
    {
        columns<QByteArray, QList<int>>("missing", "deleted");
        QTest::newRow("everything") << "everything"_ba << QList<int>{};
        QTest::newRow("token at the service") << "token"_ba << QList<int>{401};
        QTest::newRow("stored session") << "session"_ba << QList<int>{};
        QTest::newRow("credentials") << "credentials"_ba << QList<int>{};
        QTest::newRow("credentials of a session that was closed")
            << "closed credentials"_ba << QList<int>{};
        QTest::newRow("credentials that the account names") << "name"_ba << QList<int>{};
        QTest::newRow("account") << "account"_ba << QList<int>{200};
    }

    void whatIsNotThereIsNotMissed()
    {
        const auto [missing, deleted] = fetch<QByteArray, QList<int>>("missing", "deleted");
        if (missing == "everything")
            QVERIFY(cleanDevice());
        else if (missing == "token")
            QVERIFY(letTokensExpire());
        else if (missing == "session")
            QVERIFY(sqliteChange(storeFile("signon-secrets.db"), "DELETE FROM STORE"_s));
        else if (missing == "account")
            QVERIFY(sqliteChange(accountsFile(), "DELETE FROM Accounts; DELETE FROM Settings"_s));
        if (missing.contains("closed"))
            openFacade();
        if (missing.contains("credentials") || missing == "name")
            QVERIFY(removeCredentials());
        if (missing == "name")
            QVERIFY(
                sqliteChange(accountsFile(), "DELETE FROM Settings WHERE key = 'CredentialsId'"_s));
        operations();
        // The set-up's credentials are known to the facade that set them up.
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), deleted);
        expectSignedOut();
    }

    void anAccountThatIsSwitchedOffIsSignedOut()
    {
        QVERIFY(sqliteChange(accountsFile(), "UPDATE Accounts SET enabled = 0"_s));
        openFacade();
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), QList<int>{200});
        expectSignedOut();
    }

    void credentialsWithoutAnAccountAreSignedOut()
    {
        QCOMPARE(signOut(), 0);
        for (int i = 0; i < 2; ++i)
            QCOMPARE(answers([this] {
                         facade().signInAndConfigure(user(), text(password), false);
                     }).size(),
                     1);
        QCOMPARE(identities().size(), 2);
        operations();
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), (QList<int>{200, 200}));
        expectSignedOut();
        QCOMPARE(answers([this] { facade().ensureTokenAvailable(0); }),
                 QStringList("ensureTokenAvailableResponse(806)"_s));
    }

    void aServiceThatFailsLeavesEverything_data()
    {
        columns<QByteArray, int>("faults", "status");
        QTest::newRow("closed") << "close-before-headers"_ba << 402;
        QTest::newRow("closed while it answered") << "close-in-headers"_ba << 402;
        QTest::newRow("error") << "status=500"_ba << 1004;
        QTest::newRow("wrong certificate") << "wrong-host"_ba << 406;
    }

    void aServiceThatFailsLeavesEverything()
    {
        const auto [faults, status] = fetch<QByteArray, int>("faults", "status");
        QVERIFY(EmulatedService::orderFaults(faults));
        QCOMPARE(signOut(), status);
        EmulatedService::ask("DELETE", "/faults");
        expectEverything();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void aServiceThatIsSlowIsWaitedFor()
    {
        QVERIFY(EmulatedService::orderFaults("delay=700"));
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void credentialsThatStayKeepTheAccount()
    {
        part<KelConfigure>()->setRemovalTimeout(300);
        refuse(storeFile("signon.db"), "CREDENTIALS");
        const int identity = identityNumber();
        QCOMPARE(signOut(), int(SignOn::Error::InternalCommunication));
        QCOMPARE(deletions(), QList<int>{200});
        QVERIFY(storedFor(identity).isEmpty());
        QCOMPARE(identityNumber(), identity);
        QCOMPARE(deviceAccounts().size(), 1);
        allow();
        part<KelConfigure>()->setRemovalTimeout(10000);
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), QList<int>{});
        expectSignedOut();
    }

    void anAccountThatStaysIsTakenByTheNextSignOut_data()
    {
        rowsNamed("problem", {"refused", "locked"});
    }

    void anAccountThatStaysIsTakenByTheNextSignOut()
    {
        QFETCH(QByteArray, problem);
        part<KelConfigure>()->setAccountTimeout(300);
        std::unique_ptr<SqliteLock> lock;
        if (problem == "refused") {
            refuse(accountsFile(), "Accounts");
        } else {
            QVERIFY(EmulatedService::orderFaults("delay=50"));
            whenTheFaultIsTaken([&] { lock = std::make_unique<SqliteLock>(accountsFile()); });
        }
        QCOMPARE(signOut(), 805);
        QVERIFY(problem == "refused" || (lock && lock->isHeld()));
        lock.reset();
        QCOMPARE(identities(), QList<QVariantList>());
        QCOMPARE(deviceAccounts().size(), 1);
        QCOMPARE(deletions(), QList<int>{200});
        allow();
        QCOMPARE(signOut(), 0);
        QCOMPARE(deletions(), QList<int>{});
        expectSignedOut();
    }

    void accountsThatCannotBeReadLeaveEverything()
    {
        qputenv("ACCOUNTS", "/proc/nonexistent");
        QCOMPARE(signOut(), 805);
        qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
        expectEverything();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void aPluginThatIsKilledLeavesEverything()
    {
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] { killPluginProcesses(); });
        QCOMPARE(signOut(), int(SignOn::Error::Unknown));
        expectEverything();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void aDaemonThatIsKilledDuringTheRequestLeavesEverything()
    {
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] { QVERIFY(DaemonControl::kill()); });
        QCOMPARE(signOut(), int(SignOn::Error::InternalCommunication));
        expectEverything();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void aDaemonThatCannotBeStartedLeavesEverything()
    {
        DaemonControl::setInstalled(sessionFolder(), false);
        QVERIFY(DaemonControl::kill());
        QTest::qWait(50); // until this program knows, too
        QCOMPARE(signOut(), 806);
        QCOMPARE(identities().size(), 1);
        QCOMPARE(deviceAccounts().size(), 1);
        DaemonControl::setInstalled(sessionFolder(), true);
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void aDaemonThatHangsIsNotWaitedForForEver()
    {
        part<AccountSignOut>()->setTokenTimeout(1500);
        QVERIFY(EmulatedService::orderFaults("hang"));
        const pid_t daemon = DaemonControl::processId();
        QVERIFY(daemon > 1);
        whenTheFaultIsTaken([daemon] { ::kill(daemon, SIGSTOP); });
        const int status = signOut();
        ::kill(daemon, SIGCONT);
        QCOMPARE(status, 404);
        QVERIFY(killPluginProcesses()); // which asks the service that does not answer
        EmulatedService::ask("DELETE", "/faults");
        part<AccountSignOut>()->setTokenTimeout(20000);
        const int again = signOut();
        QCOMPARE(again == int(SignOn::Error::Unknown) ? signOut() : again, 0);
        expectSignedOut();
    }

    void aDaemonThatLeavesAtAnyMomentIsOneAnswer_data()
    {
        columns<Ending, int>("ending", "moment");
        for (const int moment : {0, 3, 6, 10, 15, 20, 25, 30, 40, 50, 60, 80})
            QTest::addRow("kill, %d ms", moment) << Kill << moment;
        for (const int moment : {0, 10, 25, 40, 60})
            QTest::addRow("stop, %d ms", moment) << Stop << moment;
    }

    // Which step it is in then depends on the machine.
    void aDaemonThatLeavesAtAnyMomentIsOneAnswer()
    {
        const auto [ending, moment] = fetch<Ending, int>("ending", "moment");
        const pid_t daemon = DaemonControl::processId();
        QVERIFY(daemon > 1);
        bool disturbed = false;
        QTimer::singleShot(moment, Qt::PreciseTimer, this, [&, leaving = ending] {
            disturbed = true;
            if (leaving == Kill) {
                DaemonControl::kill();
                return;
            }
            ::kill(daemon, SIGSTOP);
            mWaking = std::thread([daemon] {
                std::this_thread::sleep_for(std::chrono::milliseconds(1500));
                ::kill(daemon, SIGCONT);
            });
        });
        const int status = signOut();
        QVERIFY(status >= 0);
        QVERIFY(waitUntil([&disturbed] { return disturbed; }));
        if (mWaking.joinable())
            mWaking.join();
        // A daemon that stood still for a moment is waited for.
        QVERIFY(ending == Kill || status == 0);
        QTest::qWait(50);
        if (status != 0)
            QCOMPARE(signOut(), 0);
        QCOMPARE(identities(), QList<QVariantList>());
        QCOMPARE(deviceAccounts(), QList<QVariantList>());
        // The daemon does not write its two databases as one: what it leaves in this one when it is
        // killed between them, no call can reach.
        if (ending == Kill)
            QVERIFY(sqliteChange(storeFile("signon-secrets.db"),
                                 "DELETE FROM CREDENTIALS; DELETE FROM STORE"_s));
        expectSignedOut();
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    void aFacadeThatGoesMeanwhileLeavesTheRestToTheNext_data()
    {
        QTest::addColumn<int>("moment");
        for (const int moment : {0, 5, 15, 25, 35, 50})
            QTest::addRow("%d ms", moment) << moment;
    }

    void aFacadeThatGoesMeanwhileLeavesTheRestToTheNext()
    {
        QFETCH(int, moment);
        orchestrator()->signOut();
        QTest::qWait(moment);
        openFacade();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void twoAtOnceLeaveNothing()
    {
        KelAccount::KelAccounts other;
        other.initialize("demo-key"_s, "demo-secret"_s, 2, "service"_s, {});
        QSignalSpy spy(other.findChild<KelAccountsPrivate*>(),
                       &KelAccountsPrivate::signOutResponse);
        other.findChild<KelAccountsPrivate*>()->signOut();
        const int status = signOut();
        QVERIFY(waitUntil([&] { return !spy.isEmpty(); }, patienceMs));
        QCOMPARE(status, 0);
        QCOMPARE(spy.at(0).at(0).toInt(), 0);
        QCOMPARE(deletions(), QList<int>{200});
        expectSignedOut();
    }

    void accountsThatAreKeptAreWaitedFor_data()
    {
        columns<int, int>("patience", "status");
        QTest::newRow("long enough") << 20000 << 0;
        QTest::newRow("not long enough") << 60 << 805;
    }

    void accountsThatAreKeptAreWaitedFor()
    {
        const auto [patience, status] = fetch<int, int>("patience", "status");
        part<AccountSignOut>()->setReservationTimeout(patience);
        KelAccount::AccountsLock kept;
        QCOMPARE(kept.tryTake(), KelAccount::AccountsLock::Taken);
        QTimer::singleShot(300, this, [&] {
            if (operations().isEmpty())
                kept.release();
        });
        QCOMPARE(signOut(), status);
        kept.release();
        if (status == 0) {
            expectSignedOut();
            return;
        }
        expectEverything();
        QCOMPARE(signOut(), 0);
    }

    void whatNeedsASessionIsRefusedMeanwhile()
    {
        QVERIFY(EmulatedService::orderFaults("delay=300"));
        QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
        recorder().clear();
        orchestrator()->signOut();
        whenTheFaultIsTaken([this] {
            facade().downloadProfile();
            facade().ensureTokenAvailable(0);
            facade().signInAndConfigure(user(), text(password), true);
            orchestrator()->signOut();
        });
        QVERIFY(waitUntil([&] { return spy.size() == 2; }, patienceMs));
        QCOMPARE(spy.at(0).at(0).toInt(), 804);
        QCOMPARE(spy.at(1).at(0).toInt(), 0);
        QCOMPARE(recorder().lines(), QStringList({"downloadProfileResponse(804, no profile)"_s,
                                                  "ensureTokenAvailableResponse(804)"_s,
                                                  "signInAndConfigureResponse(804, {})"_s}));
        expectSignedOut();
    }

    void aSetUpIsNotSignedOut()
    {
        QCOMPARE(signOut(), 0);
        facade().signInAndConfigure(user(), text(password), true);
        QCOMPARE(signOut(), 804);
        QVERIFY(waitUntil([this] { return deviceAccounts().size() == 1; }, patienceMs));
    }

    void beforeItIsInitializedItIsRefused()
    {
        const KelAccount::KelAccounts fresh;
        auto* const its = fresh.findChild<KelAccountsPrivate*>();
        QSignalSpy spy(its, &KelAccountsPrivate::signOutResponse);
        its->signOut();
        QCOMPARE(spy.size(), 0);
        QVERIFY(waitUntil([&] { return !spy.isEmpty(); }));
        QCOMPARE(spy.at(0).at(0).toInt(), 802);
    }

    void theAnswerSaysWhichCallItIsOf()
    {
        KelAccount::CallId answered = 0;
        connect(orchestrator(), &KelAccountsPrivate::signOutResponse, this,
                [&] { answered = orchestrator()->answeredCall(); });
        const KelAccount::CallId next = orchestrator()->nextCall();
        QCOMPARE(signOut(), 0);
        QCOMPARE(answered, next);
    }

    void oneThatIsTakenBackAtOnceDeletesNothing()
    {
        QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
        orchestrator()->signOut();
        orchestrator()->abandon(orchestrator()->lastCall());
        expectEverything(); // which an operation after it shows, too
        QCOMPARE(spy.size(), 0);
        QCOMPARE(signOut(), 0);
        expectSignedOut();
    }

    void oneThatIsTakenBackOnTheWayGoesOnUnheard()
    {
        QVERIFY(EmulatedService::orderFaults("delay=100"));
        QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
        orchestrator()->signOut();
        const KelAccount::CallId call = orchestrator()->lastCall();
        whenTheFaultIsTaken([this, call] { orchestrator()->abandon(call); });
        QVERIFY(waitUntil([] { return leftOnTheDevice().isEmpty(); }, patienceMs));
        QVERIFY(waitUntil([this] { return !part<AccountSignOut>()->isUnderWay(); }));
        QCOMPARE(spy.size(), 0);
        expectSignedOut();
    }

private:
    static constexpr int patienceMs = 30000;

    static QString sessionFolder() { return qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s; }
    QString accountsFile() const { return mAccountsFolder + "/accounts.db"_s; }

    KelAccountsPrivate* orchestrator() { return facade().findChild<KelAccountsPrivate*>(); }
    template <class Part>
    Part* part()
    {
        return facade().findChild<Part*>();
    }

    /// The status of the one answer; -1 when there was another number of them, or one from inside
    /// the call.
    int signOut()
    {
        QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
        orchestrator()->signOut();
        if (!spy.isEmpty())
            return -1;
        waitUntil([&] { return !spy.isEmpty(); }, patienceMs);
        QTest::qWait(20);
        return spy.size() == 1 ? spy.at(0).at(0).toInt() : -1;
    }

    /// What the service answered to each deletion of a token since this was last called.
    static QList<int> deletions()
    {
        const QJsonArray requests =
            QJsonDocument::fromJson(EmulatedService::ask("GET", "/requests").body).array();
        EmulatedService::ask("DELETE", "/requests");
        QList<int> statuses;
        for (const QJsonValue& request : requests) {
            constexpr int tokenDeletion = 9;
            if (request.toObject().value("operation"_s).toInt() == tokenDeletion)
                statuses.append(request.toObject().value("status"_s).toInt());
        }
        return statuses;
    }

    void expectSignedOut()
    {
        QCOMPARE(leftOnTheDevice(), QString());
        QVERIFY(!facade().isKeLAccountConfigured());
    }

    void expectEverything()
    {
        QCOMPARE(identities().size(), 1);
        QCOMPARE(deviceAccounts().size(), 1);
        QVERIFY(!storedFor(identityNumber()).isEmpty());
        QCOMPARE(answers([this] { facade().downloadProfile(); }),
                 QStringList("downloadProfileResponse(0, profile)"_s));
    }

    bool removeCredentials()
    {
        KelConfigure configure;
        bool removed = false;
        configure.removeIdentity(quint32(identityNumber()), [&] { removed = true; });
        return waitUntil([&] { return removed; }) && identities().isEmpty();
    }

    /// The database keeps what is in the table.
    void refuse(const QString& file, const char* table)
    {
        QVERIFY(sqliteChange(file, "CREATE TRIGGER refuse BEFORE DELETE ON %1 BEGIN "
                                   "SELECT RAISE(ABORT, 'refused'); END"_s.arg(text(table))));
        mRefusing = file;
    }

    void allow()
    {
        if (!mRefusing.isEmpty())
            QVERIFY(sqliteChange(mRefusing, "DROP TRIGGER refuse"_s));
        mRefusing.clear();
    }

    QString mAccountsFolder;
    QString mRefusing;
    std::thread mWaking;
};

QTEST_MAIN(TestStorySignOut)
#include "tst_story_signout.moc"
