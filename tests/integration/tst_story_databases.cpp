// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the accounts database, or the daemon's own, broken at each step.
#include "integration/setupfixture.h"
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
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void anAccountsDatabaseThatCannotBeIsOneAnswer_data() { bothSetUps(); }
    void anAccountsDatabaseThatCannotBeIsOneAnswer();
    void anAccountsDatabaseThatGoesDuringTheRequestIsOneAnswer_data() { bothSetUps(); }
    void anAccountsDatabaseThatGoesDuringTheRequestIsOneAnswer();
    void anAccountsDatabaseThatIsNoneIsOneAnswer_data() { bothSetUps(); }
    void anAccountsDatabaseThatIsNoneIsOneAnswer();
    void anAccountThatIsNotTakenIsOneAnswer_data();
    void anAccountThatIsNotTakenIsOneAnswer();
    void anAccountsDatabaseThatIsLockedIsWaitedFor_data() { bothSetUps(); }
    void anAccountsDatabaseThatIsLockedIsWaitedFor();
    void credentialsThatAreNotTakenAreOneAnswer_data() { bothSetUps(); }
    void credentialsThatAreNotTakenAreOneAnswer();
    void aPasswordThatIsNotTakenIsOneAnswer();
    void credentialsThatCannotBeRemovedAreOneAnswer_data() { bothSetUps(); }
    void credentialsThatCannotBeRemovedAreOneAnswer();

private:
    QString accountsFile() const { return mAccountsFolder + QLatin1String("/accounts.db"); }
    /// The database fails at this from now on.
    void refuse(const QString& file, const char* what, const QString& table);
    void refuseCredentials(const char* file, const char* what)
    {
        refuse(storeFile(file), what, text("CREDENTIALS"));
    }
    void restoreDatabases();

    QString mAccountsFolder;
    QStringList mTriggers; // files with a trigger "refuse"
};

void TestStoryDatabases::initTestCase()
{
    QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM");
    mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
    // Both databases are there before anything is broken.
    prepare(SignIn);
    QCOMPARE(succeedsNow(SignIn), QString());
    tidyUp();
    QVERIFY(QFile::exists(accountsFile()));
}

void TestStoryDatabases::init()
{
    mTriggers.clear();
}

void TestStoryDatabases::refuse(const QString& file, const char* what, const QString& table)
{
    mTriggers.append(file);
    QVERIFY(sqliteChange(file, text("CREATE TRIGGER refuse BEFORE %1 ON %2 BEGIN "
                                    "SELECT RAISE(ABORT, 'refused'); END")
                                   .arg(text(what), table)));
}

void TestStoryDatabases::restoreDatabases()
{
    qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
    for (const QString& file : std::as_const(mTriggers))
        QVERIFY(sqliteChange(file, text("DROP TRIGGER refuse")));
    mTriggers.clear();
    const QString away = accountsFile() + QLatin1String(".away");
    if (QFile::exists(away)) {
        QFile::remove(accountsFile());
        QVERIFY(QFile::rename(away, accountsFile()));
    }
}

void TestStoryDatabases::cleanup()
{
    restoreDatabases();
    tidyUp();
}

void TestStoryDatabases::anAccountsDatabaseThatCannotBeIsOneAnswer()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    qputenv("ACCOUNTS", noFolder);
    QCOMPARE(attempt(setUp), failed(setUp, 805));
    restoreDatabases();
    expectNothingIsLeft(setUp);
}

void TestStoryDatabases::anAccountsDatabaseThatGoesDuringTheRequestIsOneAnswer()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    QVERIFY(EmulatedService::orderFaults("delay=50"));
    whenTheFaultIsTaken([] { qputenv("ACCOUNTS", noFolder); });
    QCOMPARE(attempt(setUp), failed(setUp, 805));
    restoreDatabases();
    expectNothingIsLeft(setUp);
}

void TestStoryDatabases::anAccountsDatabaseThatIsNoneIsOneAnswer()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    QVERIFY(QFile::rename(accountsFile(), accountsFile() + QLatin1String(".away")));
    QFile garbage(accountsFile());
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    garbage.write(QByteArray(8192, 'x'));
    garbage.close();
    QCOMPARE(attempt(setUp), failed(setUp, 805));
    restoreDatabases();
    expectNothingIsLeft(setUp);
}

void TestStoryDatabases::anAccountThatIsNotTakenIsOneAnswer_data()
{
    QTest::addColumn<SetUp>("setUp");
    QTest::addColumn<QString>("table");
    for (const char* table : {"Accounts", "Settings"}) {
        QTest::addRow("sign-in, %s", table) << SignIn << text(table);
        QTest::addRow("registration, %s", table) << Registration << text(table);
    }
}

void TestStoryDatabases::anAccountThatIsNotTakenIsOneAnswer()
{
    QFETCH(SetUp, setUp);
    QFETCH(QString, table);
    prepare(setUp);
    refuse(accountsFile(), "INSERT", table);
    QCOMPARE(attempt(setUp), failed(setUp, 805));
    restoreDatabases();
    expectNothingIsLeft(setUp);
}

void TestStoryDatabases::anAccountsDatabaseThatIsLockedIsWaitedFor()
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

void TestStoryDatabases::credentialsThatAreNotTakenAreOneAnswer()
{
    QFETCH(SetUp, setUp);
    prepare(setUp);
    refuseCredentials("signon.db", "INSERT");
    QCOMPARE(attempt(setUp), failed(setUp, 800));
    restoreDatabases();
    expectNothingIsLeft(setUp);
}

// The daemon says that it has stored everything. That it has no password shows when it is needed.
void TestStoryDatabases::aPasswordThatIsNotTakenIsOneAnswer()
{
    prepare(SignIn);
    refuseCredentials("signon-secrets.db", "INSERT");
    QCOMPARE(attempt(SignIn), failed(SignIn, 615));
    restoreDatabases();
    expectNothingIsLeft(SignIn);
}

// It cannot be helped that they stay; whoever waits for the answer gets it.
void TestStoryDatabases::credentialsThatCannotBeRemovedAreOneAnswer()
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

QTEST_MAIN(TestStoryDatabases)
#include "tst_story_databases.moc"
