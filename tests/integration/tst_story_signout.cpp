// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing out of the device, with the service or a database failing at each step: what is left is
// what the steps before it left, and signing out again takes that away, too.
#include "account/accountsignout.h"
#include "configure/kelconfigure.h"
#include "integration/signoutfixture.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <SignOn/Error>
#include <SignOn/Identity>

#include <QSignalSpy>

using namespace KelTest;
using KelAccount::AccountSignOut;
using KelAccount::KelAccountsPrivate;
using KelAccount::KelConfigure;

class TestStorySignOut : public SignOutFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { prepareUser(); }
    void cleanup() { restore(); }

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
        const auto row = rows<QByteArray, QList<int>>("missing", "deleted");
        row("everything", "everything", QList<int>{});
        row("token at the service", "token", QList<int>{401});
        row("stored session", "session", QList<int>{});
        row("credentials", "credentials", QList<int>{});
        row("credentials of a session that was closed", "closed credentials", QList<int>{});
        row("credentials that the account names", "name", QList<int>{});
        row("account", "account", QList<int>{200});
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
        const auto row = rows<QByteArray, int>("faults", "status");
        row("closed", "close-before-headers", 402);
        row("closed while it answered", "close-in-headers", 402);
        row("error", "status=500", 1004);
        row("wrong certificate", "wrong-host", 406);
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
        qputenv("ACCOUNTS", QFile::encodeName(accountsFolder()));
        expectEverything();
        QCOMPARE(signOut(), 0);
        expectSignedOut();
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
                [&] { answered = orchestrator()->calls().answered(); });
        const KelAccount::CallId next = orchestrator()->calls().next();
        QCOMPARE(signOut(), 0);
        QCOMPARE(answered, next);
    }

    void oneThatIsTakenBackAtOnceDeletesNothing()
    {
        QSignalSpy spy(orchestrator(), &KelAccountsPrivate::signOutResponse);
        orchestrator()->signOut();
        orchestrator()->abandon(orchestrator()->calls().last());
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
        const KelAccount::CallId call = orchestrator()->calls().last();
        whenTheFaultIsTaken([this, call] { orchestrator()->abandon(call); });
        QVERIFY(waitUntil([] { return leftOnTheDevice().isEmpty(); }, patienceMs));
        QVERIFY(waitUntil([this] { return !part<AccountSignOut>()->isUnderWay(); }));
        QCOMPARE(spy.size(), 0);
        expectSignedOut();
    }
};

QTEST_MAIN(TestStorySignOut)
#include "tst_story_signout.moc"
