// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the service, the databases, the plugin or the daemon failing, or missing, at
// each step: one answer, nothing left behind, and the next attempt succeeds.
#include "configure/kelconfigure.h"
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <SignOn/Error>

#include <QDir>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <sys/stat.h>

using namespace KelTest;
using KelAccount::RegistrationInfo;

namespace {

constexpr const char* noFolder = "/proc/nonexistent";

QString pluginFile()
{
    return qEnvironmentVariable("SSO_PLUGINS_DIR") + "/libzorauthplugin.so"_s;
}

QString sessionFolder()
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s;
}

bool writeGarbage(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(8192, 'x')) == 8192;
}

/// When the answer to a registration is lost, the service has the account all the same.
enum Account { NotAtService, AtService };

const struct
{
    const char* name; ///< as the emulator knows it
    int status;
    Account account;
} faults[] = {
    // Each goes out once.
    {"close-before-headers", 402, NotAtService},
    {"close-in-headers", 402, AtService},
    {"close-after-headers", 402, AtService},
    {"cut-body", 402, AtService},
    {"short-length", 423, AtService},
    {"status=401", 504, AtService},
    {"status=500", 1004, AtService},
    {"not-xml", 423, AtService},
    // Beyond the 8 MiB that are held in memory.
    {"huge-body=9000000", 423, AtService},
    {"wrong-host", 406, NotAtService},
};

const struct
{
    const char* name;
    void (*spoil)(RegistrationInfo&);
    int status;
} refusals[] = {
    {"taken address", [](auto& info) { info.setEmailAddress("alice@example.org"_s); }, 515},
    {"taken name", [](auto& info) { info.setUsername("alice"_s); }, 512},
    {"ill-formed address", [](auto& info) { info.setEmailAddress("no address"_s); }, 522},
    {"short password", [](auto& info) { info.setPassword("abc"_s); }, 522},
    {"wrong captcha", [](auto& info) { info.setCaptchaText("wrong"_s); }, 513},
    {"no captcha", [](auto& info) { info.setCaptchaText(QString()); }, 611},
    {"a child", [](auto& info) { info.setDateOfBirth(QDate::currentDate().addYears(-5)); }, 525},
};

} // namespace

class TestStoryFailures : public SetUpFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        SetUpFixture::initTestCase();
        mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
        // Both databases are there before anything is broken.
        prepare(SignIn);
        QCOMPARE(succeedsNow(SignIn), QString());
        tidyUp();
        QVERIFY(QFile::exists(accountsFile()));
    }

    void cleanup()
    {
        restore();
        tidyUp();
    }

    // The service.

    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds_data() { bothSetUpsWith(faults); }
    void aFaultIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds()
    {
        QFETCH(SetUp, setUp);
        const auto& row = currentRow(faults);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults(row.name));
        QCOMPARE(attempt(setUp), failed(setUp, row.status));
        QCOMPARE(isAtService(), setUp == SignIn || row.account == AtService);
        expectNothingIsLeft(setUp);
    }

    void aSlowOrLongReplyIsNoFailure_data()
    {
        const auto row = rows<SetUp, QByteArray>("setUp", "faults");
        for (const char* fault : {"delay=50", "huge-body=1000000"}) {
            row("sign-in, "_ba + fault, SignIn, fault);
            row("registration, "_ba + fault, Registration, fault);
        }
    }
    void aSlowOrLongReplyIsNoFailure()
    {
        const auto [setUp, faults] = fetch<SetUp, QByteArray>("setUp", "faults");
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults(faults));
        QCOMPARE(isComplete(setUp, attempt(setUp)), QString());
        QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
    }

    void aServiceThatIsAwayLeavesNothing_data() { bothSetUps(); }
    void aServiceThatIsAwayLeavesNothing()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
        // What Qt makes of a proxy that refuses, for every connection under TLS.
        QCOMPARE(attempt(setUp), failed(setUp, 420));
        QCOMPARE(attempt(setUp), failed(setUp, 420));
        QCOMPARE(leftOnTheDevice(), QString());
        QCOMPARE(EmulatedService::ask("POST", "/accept").status, 200);
        QCOMPARE(succeedsNow(setUp), QString());
    }

    void aRefusedSignInLeavesNothing()
    {
        const QString locked = "locked@mail.example"_s;
        QVERIFY(!addAccount({{"email"_s, locked}, {"locked"_s, true}}).isEmpty());
        prepare(SignIn);
        const struct
        {
            QString user;
            QString password;
            int status;
        } attempts[] = {
            {user(), "wrong"_s, 504}, {"nobody"_s, "x"_s, 504}, {locked, "secret"_s, 510}};
        for (const auto& one : attempts) {
            QCOMPARE(answers([&] { facade().signInAndConfigure(one.user, one.password, true); }),
                     failed(SignIn, one.status));
            QCOMPARE(leftOnTheDevice(), QString());
        }
        QCOMPARE(succeedsNow(SignIn), QString());
    }

    void aRefusedRegistrationLeavesNothing_data() { addRows(refusals); }
    void aRefusedRegistrationLeavesNothing()
    {
        const auto& row = currentRow(refusals);
        prepare(Registration);
        RegistrationInfo info;
        info.setEmailAddress(user());
        info.setPassword(text(password));
        info.setCaptchaText(solvedCaptcha());
        row.spoil(info);
        QCOMPARE(answers([&] { facade().registerAccount(info, true); }),
                 failed(Registration, row.status));
        QCOMPARE(leftOnTheDevice(), QString());
        QVERIFY(!isAtService());
        // The captcha was used up by the refusal, or by the one before it.
        QCOMPARE(succeedsNow(Registration), QString());
    }

    // The databases, the plugin and the daemon.

    void whatBreaksIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds_data()
    {
        bothSetUpsWith(breakages());
    }
    void whatBreaksIsOneAnswerLeavesNothingAndTheNextAttemptSucceeds()
    {
        QFETCH(SetUp, setUp);
        const Breakage& row = currentRow(breakages());
        prepare(setUp);
        row.cause(*this);
        QCOMPARE(attempt(setUp), failed(setUp, row.status));
        restore();
        expectNothingIsLeft(setUp);
    }

    // The daemon says that it has stored everything. That it has no password shows when it is
    // needed.
    void aPasswordThatIsNotTakenIsOneAnswer()
    {
        prepare(SignIn);
        refuse(storeFile("signon-secrets.db"), "INSERT", "CREDENTIALS");
        QCOMPARE(attempt(SignIn), failed(SignIn, 615));
        restore();
        expectNothingIsLeft(SignIn);
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

    // It cannot be helped that they stay; whoever waits for the answer gets it.
    void credentialsThatCannotBeRemovedAreOneAnswer_data() { bothSetUps(); }
    void credentialsThatCannotBeRemovedAreOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        facade().findChild<KelAccount::KelConfigure*>()->setRemovalTimeout(1000);
        QVERIFY(EmulatedService::orderFaults("status=500"));
        refuse(storeFile("signon.db"), "DELETE", "CREDENTIALS");
        QCOMPARE(attempt(setUp), failed(setUp, 1004));
        restore();
        succeedsOnceItIsCleaned(setUp);
    }

    void aDaemonKilledBeforeIsStartedAgain_data() { bothSetUps(); }
    void aDaemonKilledBeforeIsStartedAgain()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(DaemonControl::start());
        QVERIFY(DaemonControl::kill());
        QCOMPARE(isComplete(setUp, attempt(setUp)), QString());
    }

    void aDaemonKilledAfterTheAnswerTakesNothingAway_data() { bothSetUps(); }
    void aDaemonKilledAfterTheAnswerTakesNothingAway()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        bool killed = false;
        recorder().afterwards = [&](const QString& signal) {
            if (!killed && signal.endsWith("Response"_s))
                killed = DaemonControl::kill();
        };
        const QStringList lines = attempt(setUp);
        recorder().afterwards = nullptr;
        QVERIFY(killed);
        QCOMPARE(isComplete(setUp, lines), QString());
    }

    // Nobody is left who could take the credentials back. They do not stand in the way of the next
    // attempt.
    void aDaemonThatDoesNotComeBackIsOneAnswer_data() { bothSetUps(); }
    void aDaemonThatDoesNotComeBackIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] {
            DaemonControl::setInstalled(sessionFolder(), false);
            QVERIFY(DaemonControl::kill());
        });
        QCOMPARE(attempt(setUp), failed(setUp, SignOn::Error::InternalCommunication));
        restore();
        QCOMPARE(identities().size(), 1);
        succeedsOnceItIsCleaned(setUp);
    }

    void aDaemonThatIsNotInstalledIsOneAnswer_data() { bothSetUps(); }
    void aDaemonThatIsNotInstalledIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        DaemonControl::setInstalled(sessionFolder(), false);
        QVERIFY(DaemonControl::processId() == 0 || DaemonControl::kill());
        QCOMPARE(attempt(setUp), failed(setUp, 800));
        QCOMPARE(attempt(setUp), failed(setUp, 800));
        restore();
        expectNothingIsLeft(setUp);
    }

private:
    struct Breakage
    {
        const char* name;
        std::function<void(TestStoryFailures&)> cause;
        int status;
    };

    static const QVector<Breakage>& breakages()
    {
        using Test = TestStoryFailures;
        static const QVector<Breakage> all = {
            {"no accounts database", [](Test&) { qputenv("ACCOUNTS", noFolder); }, 805},
            {"the accounts database goes during the request",
             [](Test& t) {
                 QVERIFY(EmulatedService::orderFaults("delay=50"));
                 t.whenTheFaultIsTaken([] { qputenv("ACCOUNTS", noFolder); });
             },
             805},
            {"the accounts database is none",
             [](Test& t) {
                 QVERIFY(t.putAway(t.accountsFile()) && writeGarbage(t.accountsFile()));
             },
             805},
            {"no account is taken",
             [](Test& t) { t.refuse(t.accountsFile(), "INSERT", "Accounts"); }, 805},
            {"no setting is taken",
             [](Test& t) { t.refuse(t.accountsFile(), "INSERT", "Settings"); }, 805},
            {"no credentials are taken",
             [](Test& t) { t.refuse(storeFile("signon.db"), "INSERT", "CREDENTIALS"); }, 800},
            {"the plugin is missing", [](Test& t) { QVERIFY(t.putAway(pluginFile())); }, 806},
            {"the plugin is none",
             [](Test& t) { QVERIFY(t.putAway(pluginFile()) && writeGarbage(pluginFile())); }, 806},
            {"the plugin is killed while it starts",
             [](Test& t) { t.whenAPluginStarts([](pid_t plugin) { ::kill(plugin, SIGKILL); }); },
             806},
            {"the plugin is killed during the request",
             [](Test& t) {
                 t.whileItHangs([] {
                     const QList<pid_t> processes = pluginProcesses();
                     for (const pid_t process : processes)
                         ::kill(process, SIGKILL);
                 });
             },
             SignOn::Error::Unknown},
            {"the daemon is killed while the plugin starts",
             [](Test& t) {
                 t.whenAPluginStarts([](pid_t plugin) {
                     QVERIFY(DaemonControl::kill());
                     // Without its daemon it would wait for ever.
                     ::kill(plugin, SIGKILL);
                 });
             },
             806},
            {"the daemon is killed during the request",
             [](Test& t) { t.whileItHangs([] { QVERIFY(DaemonControl::kill()); }); },
             SignOn::Error::InternalCommunication},
        };
        return all;
    }

    QString accountsFile() const { return mAccountsFolder + "/accounts.db"_s; }

    bool putAway(const QString& file)
    {
        mAway.append(file);
        return QFile::rename(file, file + ".away"_s);
    }

    /// The database fails at this from now on.
    void refuse(const QString& file, const char* what, const char* table)
    {
        mTriggers.append(file);
        QVERIFY(sqliteChange(file,
                             "CREATE TRIGGER refuse BEFORE %1 ON %2 BEGIN "
                             "SELECT RAISE(ABORT, 'refused'); END"_s.arg(text(what), text(table))));
    }

    void whileItHangs(const std::function<void()>& action)
    {
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken(action);
    }

    /// The plugin's module is a pipe that nobody writes to: loading it does not end. Those of the
    /// rows before may still be there.
    void whenAPluginStarts(const std::function<void(pid_t)>& action)
    {
        QVERIFY(putAway(pluginFile()) &&
                ::mkfifo(QFile::encodeName(pluginFile()).constData(), 0600) == 0);
        const QList<pid_t> before = pluginProcesses();
        const auto started = [before] {
            const QList<pid_t> now = pluginProcesses();
            const auto found = std::find_if(now.cbegin(), now.cend(), [&before](pid_t process) {
                return !before.contains(process);
            });
            return found == now.cend() ? 0 : *found;
        };
        when([started] { return started() != 0; }, [started, action] { action(started()); });
    }

    /// Everything that a test broke.
    void restore()
    {
        DaemonControl::setInstalled(sessionFolder(), true);
        qputenv("ACCOUNTS", QFile::encodeName(mAccountsFolder));
        for (const QString& file : std::as_const(mTriggers))
            QVERIFY(sqliteChange(file, "DROP TRIGGER refuse"_s));
        mTriggers.clear();
        for (const QString& file : std::as_const(mAway)) {
            QFile::remove(file);
            QVERIFY(QFile::rename(file + ".away"_s, file));
        }
        mAway.clear();
    }

    void succeedsOnceItIsCleaned(SetUp setUp)
    {
        QVERIFY(!facade().isKeLAccountConfigured());
        QVERIFY(cleanDevice());
        QCOMPARE(succeedsNow(setUp), QString());
    }

    QString mAccountsFolder;
    QStringList mTriggers; // files with a trigger "refuse"
    QStringList mAway;     // files that have other names meanwhile
};

QTEST_MAIN(TestStoryFailures)
#include "tst_story_failures.moc"
