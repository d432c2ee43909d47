// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the accounts database, or the daemon's own, broken at each step.
#include "integration/setupfixture.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sqlitechange.h"

#include <Accounts/Manager>

#include <QDir>
#include <QFile>
#include <QTimer>

using namespace KelTest;

namespace {

constexpr const char* noFolder = "/proc/nonexistent";

} // namespace

class TestStoryDatabases : public SetUpFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM");
        mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
        // Both databases are there before anything is broken.
        prepare(SignIn);
        QCOMPARE(succeedsNow(SignIn), QString());
        tidyUp();
        QVERIFY(QFile::exists(accountsFile()));
    }

    void init() { mTriggers.clear(); }

    void cleanup()
    {
        restoreDatabases();
        tidyUp();
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void anAccountsDatabaseThatCannotBeIsOneAnswer_data() { bothSetUps(); }

    void anAccountsDatabaseThatCannotBeIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        qputenv("ACCOUNTS", noFolder);
        QCOMPARE(attempt(setUp), failed(setUp, 805));
        restoreDatabases();
        expectNothingIsLeft(setUp);
    }

    void anAccountsDatabaseThatGoesDuringTheRequestIsOneAnswer_data() { bothSetUps(); }

    void anAccountsDatabaseThatGoesDuringTheRequestIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("delay=50"));
        whenTheFaultIsTaken([] { qputenv("ACCOUNTS", noFolder); });
        QCOMPARE(attempt(setUp), failed(setUp, 805));
        restoreDatabases();
        expectNothingIsLeft(setUp);
    }

    void anAccountsDatabaseThatIsNoneIsOneAnswer_data() { bothSetUps(); }

    void anAccountsDatabaseThatIsNoneIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(QFile::rename(accountsFile(), accountsFile() + ".away"_s));
        QFile garbage(accountsFile());
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write(QByteArray(8192, 'x'));
        garbage.close();
        QCOMPARE(attempt(setUp), failed(setUp, 805));
        restoreDatabases();
        expectNothingIsLeft(setUp);
    }

    void anAccountThatIsNotTakenIsOneAnswer_data()
    {
        columns<SetUp, QString>("setUp", "table");
        for (const char* table : {"Accounts", "Settings"}) {
            QTest::addRow("sign-in, %s", table) << SignIn << text(table);
            QTest::addRow("registration, %s", table) << Registration << text(table);
        }
    }

    void anAccountThatIsNotTakenIsOneAnswer()
    {
        const auto [setUp, table] = fetch<SetUp, QString>("setUp", "table");
        prepare(setUp);
        refuse(accountsFile(), "INSERT", table);
        QCOMPARE(attempt(setUp), failed(setUp, 805));
        restoreDatabases();
        expectNothingIsLeft(setUp);
    }

    void anAccountsDatabaseThatIsLockedIsWaitedFor_data() { bothSetUps(); }

    void anAccountsDatabaseThatIsLockedIsWaitedFor()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("delay=50"));
        std::unique_ptr<SqliteLock> lock;
        bool wasHeld = false;
        whenTheFaultIsTaken([&] {
            lock = std::make_unique<SqliteLock>(accountsFile());
            wasHeld = lock->isHeld();
            QTimer::singleShot(250, this, [&lock] { lock.reset(); });
        });
        const QStringList lines = attempt(setUp);
        QVERIFY(wasHeld);
        QVERIFY(!lock);
        QCOMPARE(isComplete(setUp, lines), QString());
    }

    void credentialsThatAreNotTakenAreOneAnswer_data() { bothSetUps(); }

    void credentialsThatAreNotTakenAreOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        refuseCredentials("signon.db", "INSERT");
        QCOMPARE(attempt(setUp), failed(setUp, 800));
        restoreDatabases();
        expectNothingIsLeft(setUp);
    }

    // The daemon says that it has stored everything. That it has no password shows when it is
    // needed.
    void aPasswordThatIsNotTakenIsOneAnswer()
    {
        prepare(SignIn);
        refuseCredentials("signon-secrets.db", "INSERT");
        QCOMPARE(attempt(SignIn), failed(SignIn, 615));
        restoreDatabases();
        expectNothingIsLeft(SignIn);
    }

    void credentialsThatCannotBeRemovedAreOneAnswer_data() { bothSetUps(); }

    // It cannot be helped that they stay; whoever waits for the answer gets it.
    void credentialsThatCannotBeRemovedAreOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        refuseCredentials("signon.db", "DELETE");
        QCOMPARE(attempt(setUp), failed(setUp, 1004));
        restoreDatabases();
        QVERIFY(!facade().isKeLAccountConfigured());
        QVERIFY(cleanDevice());
        QCOMPARE(succeedsNow(setUp), QString());
    }

private:
    QString accountsFile() const { return mAccountsFolder + "/accounts.db"_s; }
    /// The database fails at this from now on.
    void refuse(const QString& file, const char* what, const QString& table)
    {
        mTriggers.append(file);
        QVERIFY(sqliteChange(file, "CREATE TRIGGER refuse BEFORE %1 ON %2 BEGIN "
                                   "SELECT RAISE(ABORT, 'refused'); END"_s.arg(text(what), table)));
    }

    void refuseCredentials(const char* file, const char* what)
    {
        refuse(storeFile(file), what, "CREDENTIALS"_s);
    }

    void restoreDatabases()
    {
        qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
        for (const QString& file : std::as_const(mTriggers))
            QVERIFY(sqliteChange(file, "DROP TRIGGER refuse"_s));
        mTriggers.clear();
        const QString away = accountsFile() + ".away"_s;
        if (QFile::exists(away)) {
            QFile::remove(accountsFile());
            QVERIFY(QFile::rename(away, accountsFile()));
        }
    }

    QString mAccountsFolder;
    QStringList mTriggers; // files with a trigger "refuse"
};

QTEST_MAIN(TestStoryDatabases)
#include "tst_story_databases.moc"
