// SPDX-License-Identifier: LGPL-2.1-or-later
// Signing out of the device, with the plugin or the daemon ending or standing still, with another
// one at the same time, and with nobody left to hear of it: the next sign-out finds what is left.
#include "account/accountsignout.h"
#include "common/unfinishedwork.h"
#include "configure/accountslock.h"
#include "integration/signoutfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <SignOn/Error>

#include <QSignalSpy>
#include <QTimer>

#include <csignal>
#include <thread>

using namespace KelTest;
using KelAccount::AccountSignOut;
using KelAccount::KelAccountsPrivate;

class TestStorySignOutProcesses : public SignOutFixture
{
    Q_OBJECT

public:
    enum Ending { Kill, Stop };
    Q_ENUM(Ending)

private Q_SLOTS:
    void init() { prepareUser(); }

    void cleanup()
    {
        if (mWaking.joinable())
            mWaking.join();
        restore();
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

    void aDaemonThatLeavesWhileItRemovesTheCredentialsIsAskedAgain_data()
    {
        QTest::addColumn<Ending>("ending");
        QTest::newRow("kill") << Kill;
        QTest::newRow("stop") << Stop;
    }

    // Its database does not let go of them before.
    void aDaemonThatLeavesWhileItRemovesTheCredentialsIsAskedAgain()
    {
        QFETCH(Ending, ending);
        const int identity = identityNumber();
        const pid_t daemon = DaemonControl::processId();
        QVERIFY(daemon > 1);
        refuse(storeFile("signon.db"), "CREDENTIALS");
        bool left = false;
        when([identity] { return storedFor(identity).isEmpty(); },
             [&, how = ending] {
                 left = true;
                 leave(how, daemon);
                 allow();
             });
        QCOMPARE(signOut(), 0);
        QVERIFY(left);
        expectSignedOut();
    }

    void aDaemonThatCannotBeStartedLeavesEverything()
    {
        DaemonControl::setInstalled(sessionFolder(), false);
        QVERIFY(DaemonControl::kill());
        QVERIFY(DaemonControl::letThisProgramHear());
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
        rows<Ending, int>("ending", "moment");
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
        QTimer::singleShot(moment, Qt::PreciseTimer, this, [&, how = ending] {
            disturbed = true;
            leave(how, daemon);
        });
        const int status = signOut();
        QVERIFY(status >= 0);
        QVERIFY(waitUntil([&disturbed] { return disturbed; }));
        if (mWaking.joinable())
            mWaking.join();
        // A daemon that stood still for a moment is waited for.
        QVERIFY(ending == Kill || status == 0);
        QVERIFY(DaemonControl::letThisProgramHear());
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
        rows<int>("moment");
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

    // An account that is made meanwhile would lose its credentials to it.
    void aFacadeThatGoesKeepsTheAccountsUntilTheCredentialsAreGone()
    {
        refuse(storeFile("signon.db"), "CREDENTIALS");
        orchestrator()->signOut();
        QVERIFY(waitUntil([] { return KelAccount::UnfinishedWork::isUnderWay(); }, patienceMs));
        closeFacade();
        KelAccount::AccountsLock next;
        QCOMPARE(next.tryTake(), KelAccount::AccountsLock::Busy);
        QCOMPARE(identities().size(), 1);
        allow();
        QVERIFY(waitUntil([&] { return next.tryTake() == KelAccount::AccountsLock::Taken; },
                          patienceMs));
        QCOMPARE(identities(), QList<QVariantList>());
        next.release();
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
        const auto row = rows<int, int>("patience", "status");
        row("long enough", 20000, 0);
        row("not long enough", 60, 805);
    }

    void accountsThatAreKeptAreWaitedFor()
    {
        const auto [patience, status] = fetch<int, int>("patience", "status");
        part<AccountSignOut>()->setReservationTimeout(patience);
        KelAccount::AccountsLock kept;
        QCOMPARE(kept.tryTake(), KelAccount::AccountsLock::Taken);
        QTimer later; // no later than this function
        later.setSingleShot(true);
        connect(&later, &QTimer::timeout, this, [&] {
            if (operations().isEmpty())
                kept.release();
        });
        later.start(300);
        QCOMPARE(signOut(), status);
        kept.release();
        if (status == 0) {
            expectSignedOut();
            return;
        }
        expectEverything();
        QCOMPARE(signOut(), 0);
    }

private:
    void leave(Ending ending, pid_t daemon)
    {
        if (ending == Kill) {
            DaemonControl::kill();
            return;
        }
        ::kill(daemon, SIGSTOP);
        mWaking = std::thread([daemon] {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            ::kill(daemon, SIGCONT);
        });
    }

    std::thread mWaking;
};

QTEST_MAIN(TestStorySignOutProcesses)
#include "tst_story_signout_processes.moc"
