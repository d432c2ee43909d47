// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the scenarios of data/story, each a row: an application with its facade, and the service,
// the databases, the plugin or the daemon failing, or missing. The README there says how they are
// written.
#include "configure/kelconfigure.h"
#include "integration/keptdata.h"
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/messagelog.h"
#include "support/scenarios.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <SignOn/Error>

#include <QFile>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <sys/stat.h>

using namespace KelTest;
using KelAccount::RegistrationInfo;

namespace {

QString pluginFile()
{
    return qEnvironmentVariable("SSO_PLUGINS_DIR") + "/libzorauthplugin.so"_s;
}

QString sessionFolder()
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s;
}

bool writeNonsense(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(8192, 'x')) == 8192;
}

bool killAll(const QList<pid_t>& processes)
{
    return std::all_of(processes.cbegin(), processes.cend(),
                       [](pid_t process) { return process > 1 && ::kill(process, SIGKILL) == 0; });
}

} // namespace

class TestStoryScenarios : public SetUpFixture, private Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        SetUpFixture::initTestCase();
        mAccountsFolder = qEnvironmentVariable("ACCOUNTS");
        mValues = {{"unknown"_s, QString::number(SignOn::Error::Unknown)},
                   {"runtime"_s, QString::number(SignOn::Error::Runtime)},
                   {"lost"_s, QString::number(SignOn::Error::InternalCommunication)},
                   {"password"_s, text(password)}};
        // Both databases are there before anything is broken.
        QCOMPARE(run({"prepare sign-in"_s, "succeeds"_s}), QString());
        cleanup();
        QVERIFY(QFile::exists(accountsFile()));
    }

    void cleanup()
    {
        restore();
        tidyUp();
        mAwaited = 0;
    }

    void everyScenario_data() { scenarioRows(qEnvironmentVariable("KELACCOUNT_TEST_SCENARIOS")); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        const QString problem = run(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
        QCOMPARE(mAwaited, 0); // what is to happen meanwhile happened
    }

    void aScenarioThatDoesNotHoldFails()
    {
        const QString lines =
            "prepare nothing, attempt => 402, attempt, sign-in nobody x => 0, register a=b => 0, "
            "fault fire, left something, at-service no, do rain, do kill plugins at once, "
            "configured yes, identities 1, call profile => 0, call profile => 1 or 2, "
            "call nobody => 0, together profile => 806, together no-profile token => 806 704, "
            "logged nonsense, taken, "
            "think about it"_s;
        for (const QString& line : lines.split(", "_s)) {
            QCOMPARE(run({"prepare sign-in"_s, "fault none"_s}), QString());
            QVERIFY2(!run({line}).isEmpty(), qPrintable(line));
        }
    }

private:
    QString step(const QString& word, const QString& rest, const QString& /*more*/) override
    {
        const QString what = rest.section(" => "_s, 0, 0);
        const QString expected = rest.section("=> "_s, 1);
        if (word == "prepare"_s) {
            cleanup();
            mSetUp = rest == "sign-in"_s ? SignIn : Registration;
            mValues["user"_s].clear();
            prepare(mSetUp);
            mValues["user"_s] = user();
            return expect(rest == "sign-in"_s || rest == "registration"_s);
        }
        if (word == "attempt"_s && expected == "all"_s)
            return isComplete(mSetUp, attempt(mSetUp));
        if (word == "attempt"_s)
            return sameLines(attempt(mSetUp), failed(mSetUp, expected.toInt()));
        if (word == "sign-in"_s)
            return signInAs(what.section(QLatin1Char(' '), 0, 0), what.section(QLatin1Char(' '), 1),
                            expected.toInt());
        if (word == "register"_s)
            return registerWith(what, expected.toInt());
        if (word == "call"_s)
            return call(what, expected.split(" or "_s));
        if (word == "together"_s)
            return together(what.split(QLatin1Char(' ')), expected.split(QLatin1Char(' ')));
        if (word == "logged"_s)
            return expect(mLogged.contains("C "_s + rest));
        if (word == "fault"_s)
            return expect(EmulatedService::orderFaults(rest.toLatin1()));
        if (word == "service"_s)
            return expect(
                EmulatedService::ask("POST", ("/" + rest.toLatin1()).constData()).status == 200);
        if (word == "well"_s)
            return expect(EmulatedService::ask("DELETE", "/faults").status == 200);
        if (word == "locked"_s)
            return expect(!addAccount({{"email"_s, rest}, {"locked"_s, true}}).isEmpty());
        if (word == "do"_s)
            return expect(happens(rest));
        if (word == "clean"_s)
            return expect(cleanDevice());
        if (word == "restore"_s)
            return restore(), QString();
        if (word == "meanwhile"_s || word == "a-plugin-starts"_s || word == "answered"_s)
            return await(word, rest);
        // What has to hold.
        if (word == "succeeds"_s)
            return succeedsNow(mSetUp);
        if (word == "left"_s)
            return same(leftOnTheDevice(), rest == "nothing"_s ? QString() : rest);
        if (word == "identities"_s)
            return same(QString::number(identities().size()), rest);
        if (word == "at-service"_s)
            return same(isAtService() ? "yes"_s : "no"_s, rest);
        if (word == "configured"_s)
            return same(facade().isKeLAccountConfigured() ? "yes"_s : "no"_s, rest);
        if (word == "taken"_s)
            return expect(EmulatedService::faultsLeft().isEmpty());
        return "what does it mean?"_s;
    }

    static QString sameLines(const QStringList& lines, const QStringList& expected)
    {
        return same(lines.join("; "_s), expected.join("; "_s));
    }

    QString signInAs(const QString& name, const QString& secret, int status)
    {
        return sameLines(answers([&] { facade().signInAndConfigure(name, secret, true); }),
                         failed(SignIn, status));
    }

    /// A registration of this user with one thing changed: "email", "name", "password", "captcha",
    /// or "age".
    QString registerWith(const QString& changed, int status)
    {
        const QString value = changed.section(QLatin1Char('='), 1);
        RegistrationInfo info;
        info.setEmailAddress(changed.startsWith("email="_s) ? value : user());
        info.setPassword(changed.startsWith("password="_s) ? value : text(password));
        const QString captcha = solvedCaptcha();
        info.setCaptchaText(changed.startsWith("captcha="_s) ? value : captcha);
        if (changed.startsWith("name="_s))
            info.setUsername(value);
        if (changed.startsWith("age="_s))
            info.setDateOfBirth(QDate::currentDate().addYears(-value.toInt()));
        return sameLines(answers([&] { facade().registerAccount(info, true); }),
                         failed(Registration, status));
    }

    struct Operation
    {
        Call call;
        QString line; ///< of its answer
    };

    /// An operation of a user who is signed in; one without a call when there is none of this name.
    Operation operation(const QString& name, const QString& status)
    {
        const QMap<QString, Operation> all = {
            {"profile"_s,
             {[this] { facade().downloadProfile(); }, "downloadProfileResponse(%1, profile)"_s}},
            {"no-profile"_s,
             {[this] { facade().downloadProfile(); }, "downloadProfileResponse(%1, no profile)"_s}},
            {"password"_s,
             {[this] { facade().changePassword(text(password), "another password"_s); },
              "changePasswordResponse(%1)"_s}},
            {"user-name"_s,
             {[this] { facade().userIdUpdate(user().section(QLatin1Char('@'), 0, 0)); },
              "userIdUpdateResponse(%1)"_s}},
            {"question"_s,
             {[this] { facade().updateSecurityQuestion("2"_s, "Hämeenlinna"_s); },
              "updateSecurityQuestionResponse(%1)"_s}},
            {"token"_s,
             {[this] { facade().ensureTokenAvailable(0); }, "ensureTokenAvailableResponse(%1)"_s}}};
        Operation found = all.value(name);
        found.line = found.line.arg(status);
        return found;
    }

    /// One, answered with any of these.
    QString call(const QString& name, const QStringList& statuses)
    {
        const Call made = operation(name, QString()).call;
        if (!made)
            return "there is no such operation"_s;
        const QString answer = answers(made).join("; "_s);
        for (const QString& status : statuses)
            if (answer == operation(name, status).line)
                return {};
        return "it is "_s + answer;
    }

    /// Two of them, the second made while the first opens the session; they may be answered in any
    /// order.
    QString together(const QStringList& names, const QStringList& statuses)
    {
        const Operation first = operation(names.value(0), statuses.value(0));
        const Operation second = operation(names.value(1), statuses.value(1));
        if (!first.call || !second.call)
            return "there is no such operation"_s;
        constexpr int patienceMs = 20000;
        const MessageLog log;
        recorder().clear();
        QMetaObject::invokeMethod(this, second.call, Qt::QueuedConnection);
        first.call();
        recorder().waitFor(2, patienceMs);
        QStringList lines = answersToCome();
        QStringList expected = {first.line, second.line};
        lines.sort();
        expected.sort();
        mLogged = log.all();
        return sameLines(lines, expected);
    }

    /// What may go wrong, at once. False when it does not.
    bool happens(const QString& what)
    {
        const QStringList words = what.split(QLatin1Char(' '));
        if (what == "the daemon starts"_s)
            return DaemonControl::start();
        if (what == "the daemon is killed"_s)
            return DaemonControl::processId() == 0 || DaemonControl::kill();
        if (what == "the daemon goes for good"_s) {
            DaemonControl::setInstalled(sessionFolder(), false);
            return DaemonControl::processId() == 0 || DaemonControl::kill();
        }
        if (what == "the plugin is killed"_s)
            return !pluginProcesses().isEmpty() && killAll(pluginProcesses());
        if (what == "the plugin ends"_s) // and is waited for
            return killPluginProcesses();
        if (what == "the plugin goes"_s)
            return putAway(pluginFile());
        if (what == "the plugin is nonsense"_s)
            return putAway(pluginFile()) && writeNonsense(pluginFile());
        if (what == "the accounts go"_s)
            return qputenv("ACCOUNTS", "/proc/nonexistent");
        if (what == "the accounts are nonsense"_s)
            return putAway(accountsFile()) && writeNonsense(accountsFile());
        if (what == "the accounts are locked for a while"_s) {
            mLock = std::make_unique<SqliteLock>(accountsFile());
            QTimer::singleShot(250, this, [this] { mLock.reset(); });
            return mLock->isHeld();
        }
        if (what == "removing takes long"_s) {
            facade().findChild<KelAccount::KelConfigure*>()->setRemovalTimeout(1000);
            return true;
        }
        if (what.startsWith("the token is forgotten for "_s))
            return !what.endsWith(" token"_s) || forgetToken();
        if (what == "this program hears of it"_s)
            return DaemonControl::letThisProgramHear();
        // "accounts refuses INSERT Settings", "signon.db refuses DELETE CREDENTIALS"
        return words.value(1) == "refuses"_s &&
               refuse(words.first() == "accounts"_s
                          ? accountsFile()
                          : storeFile(words.first().toLatin1().constData()),
                      words.value(2), words.value(3));
    }

    /// "meanwhile" is as soon as the service has got the request that the last fault is for.
    QString await(const QString& moment, const QString& what)
    {
        const auto happen = [this, what] { mAwaited -= happens(what) ? 1 : 0; };
        ++mAwaited;
        if (moment == "meanwhile"_s) {
            whenTheFaultIsTaken(happen);
        } else if (moment == "answered"_s) {
            recorder().afterwards = [this, happen](const QString& signal) {
                if (mAwaited > 0 && signal.endsWith("Response"_s))
                    happen();
            };
        } else {
            // Its module is a pipe that nobody writes to: loading it does not end. Those of other
            // scenarios may still be there.
            const QList<pid_t> before = pluginProcesses();
            const auto started = [before] {
                QList<pid_t> now = pluginProcesses();
                for (const pid_t process : before)
                    now.removeAll(process);
                return now;
            };
            when([started] { return !started().isEmpty(); },
                 [started, happen] {
                     happen();
                     // Without its daemon it would wait for ever.
                     killAll(started());
                 });
            return expect(putAway(pluginFile()) &&
                          ::mkfifo(QFile::encodeName(pluginFile()).constData(), 0600) == 0);
        }
        return {};
    }

    QString accountsFile() const { return mAccountsFolder + "/accounts.db"_s; }

    bool putAway(const QString& file)
    {
        mAway.append(file);
        return QFile::rename(file, file + ".away"_s);
    }

    /// The database fails at this from now on.
    bool refuse(const QString& file, const QString& what, const QString& table)
    {
        mTriggers.append(file);
        return sqliteChange(file, "CREATE TRIGGER refuse BEFORE %1 ON %2 BEGIN "
                                  "SELECT RAISE(ABORT, 'refused'); END"_s.arg(what, table));
    }

    /// With a token at hand nobody would be asked for one. Where the user signed in stays known:
    /// without that no server is asked.
    static bool forgetToken()
    {
        const int identity = identityNumber();
        const QVariantMap kept = KeptData::withSession(storedFor(identity), QVariantMap());
        return changeStored(identity, kept.firstKey(), kept.first());
    }

    /// Everything that a scenario broke.
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

    SetUp mSetUp = SignIn;
    QString mAccountsFolder;
    std::unique_ptr<SqliteLock> mLock;
    QStringList mTriggers; // files with a trigger "refuse"
    QStringList mAway;     // files that have other names meanwhile
    QStringList mLogged;   // while two operations were called together
    int mAwaited = 0;      // what is to happen and has not
};

QTEST_MAIN(TestStoryScenarios)
#include "tst_story_scenarios.moc"
