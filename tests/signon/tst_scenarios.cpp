// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs scenarios of data/, each a row: a session with the real daemon and a plugin that does as it
// is told. The README there says how they are written.
#include "signonfixture.h"
#include "support/allaccounts.h"
#include "support/literals.h"
#include "support/sessionscenarios.h"

#include <Accounts/Account>
#include <Accounts/Manager>
#include <SignOn/Identity>

#include <QElapsedTimer>
#include <QRegularExpression>

#include <algorithm>

using namespace KelTest;

namespace {

constexpr int noHangMs = 5000;

/// Creates an account of the provider.
bool createAccount(const QString& provider, bool enabled, unsigned credentials)
{
    Accounts::Manager manager;
    const std::unique_ptr<Accounts::Account> account(manager.createAccount(provider));
    account->setEnabled(enabled);
    account->setValue("CredentialsId"_s, static_cast<int>(credentials));
    return account->syncAndBlock();
}

} // namespace

class TestScenarios : public SignOnFixture, private SessionScenarios
{
    Q_OBJECT

public:
    explicit TestScenarios(SessionSandbox& sandbox)
        : SignOnFixture(sandbox), SessionScenarios(sandbox)
    {
        addWordsForRequests();
        addWordsForSessions();
        word("store", [this](const QString& name) {
            const unsigned credentials = storeCredentials();
            mValues[name] = QString::number(credentials);
            return credentials > 0;
        });
        word("cannot-store", [](const QString&) { return storeCredentials() == 0; });
        word("works", [this](const QString& again) { return again == "again"_s && worksAgain(); });
        word("sleep", [](const QString& ms) {
            QTest::qSleep(ms.toInt()); // no event is to be seen
            return true;
        });
        word("exec", [] { QCoreApplication::exec(); });
        word("quit", [] { QCoreApplication::quit(); });
    }

private Q_SLOTS:
    void cleanup()
    {
        mInterface.reset();
        KelTest::removeAllAccounts();
    }

    void everyScenario_data() { scenarioRows(); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        mValues = {{"version"_s, QStringLiteral(KELACCOUNT_TEST_VERSION)}};
        mInAnswers.clear();
        mAfterwards = [this](const QString& name) {
            if (const auto steps = mInAnswers.take(name))
                steps();
        };
        const QString problem = problemOf(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void aScenarioThatDoesNotHoldFails()
    {
        QCOMPARE(whichHolds(R"(cannot-open
            open key=other credentials=4711
            session own
            active own
            answered token 0
            open; asked nothing
            logged C nothing
            log C nothing
            cancelled -1
            ask nobody
            sent 1 A=b
            later 10000 quit
            at token quit
            in-answer token quit
            later 0 no-session own; pause 50
            in-answer token no-session own; ask token; answers token 0
            plugin sings
            daemon sings
            kill time
            think about it)"_s),
                 QString());
    }

private:
    void addWordsForRequests()
    {
        word("ask", [this](const QString& names) { return ask(names); });
        word("answers", [this](const QString& expected) {
            waitForAnswers(expected.count(QLatin1Char(',')) + 1);
            letPass(50);
            return compareAnswers(expected);
        });
        word("answered", [this](const QString& expected) { return compareAnswers(expected); });
        word("in-answer", [this](const QString& text) {
            mInAnswers[text.section(QLatin1Char(' '), 0, 0)] =
                prepared(text.section(QLatin1Char(' '), 1));
            return true;
        });
        word("to-nothing", [this](const QString& what) {
            what == "answer"_s ? mInterface->processPluginResponse(SignOn::SessionData())
                               : mInterface->processPluginError(SignOn::Error(605));
            return true;
        });
    }

    void addWordsForSessions()
    {
        word("open", [this](const QString& how) { return opens(how, true); });
        word("cannot-open", [this](const QString& how) { return opens(how, false); });
        word("opens-soon", [this](const QString& how) {
            return waitUntil([&] { return opens(how, true); }, noHangMs);
        });
        word("patience", [this](const QString& ms) {
            mInterface->setOpeningTimeout(ms.toInt());
            return true;
        });
        word("request-patience", [this](const QString& ms) {
            mInterface->setRequestTimeout(ms.toInt());
            return true;
        });
        word("destroy", [this] { mInterface->destroyActiveAuthSession(); });
        word("sign-out-elsewhere", [this] {
            auto* const other = SignOn::Identity::existingIdentity(mCredentials, this);
            other->signOut();
        });
        word("session",
             [this](const QString& of) { return mInterface->sessionExists(credentialsOf(of)); });
        word("no-session",
             [this](const QString& of) { return !mInterface->sessionExists(credentialsOf(of)); });
        word("session-ends", [this](const QString&) {
            return waitUntil([this] { return !mInterface->sessionExists(mCredentials); }, noHangMs);
        });
        word("account", [this](const QString& account) {
            const QStringList words = account.split(QLatin1Char(' '));
            return createAccount(words.value(0), words.value(1) == "enabled"_s,
                                 credentialsOf(words.value(2)));
        });
        word("no-account",
             [](const QString&) { return !KelAccount::KelConfigure().isKelAccountPresent(); });
        word("active", [this](const QString& credentials) {
            return mInterface->retrieveActiveAccountCredId() == credentialsOf(credentials);
        });
        word("interface", [this](const QString& what) {
            if (what == "is-gone"_s)
                return !mInterface;
            what == "anew"_s ? makeInterface() : mInterface.reset();
            return true;
        });
    }

    bool ask(const QString& names)
    {
        static const QHash<QString, std::function<void(Interface&)>> requests = {
            {"token"_s, [](Interface& i) { i.token(); }},
            {"ensureToken"_s, [](Interface& i) { i.ensureToken(); }},
            {"signIn"_s, [](Interface& i) { i.signIn(); }},
            {"downloadProfile"_s, [](Interface& i) { i.downloadProfile(); }},
            {"updateDeviceInfo"_s, [](Interface& i) { i.updateDeviceInfo(); }},
            {"changePassword"_s, [](Interface& i) { i.changePassword("a"_s, "b"_s); }},
            {"close"_s, [](Interface& i) { i.close(); }},
        };
        const QStringList all = names.split(QLatin1Char(' '));
        return std::all_of(all.begin(), all.end(), [this](const QString& name) {
            const auto request = requests.constFind(name);
            if (request != requests.cend())
                (*request)(*mInterface);
            return request != requests.cend();
        });
    }

    /// "token 0, signIn *": any number; "token !0": any but 0.
    QString compareAnswers(const QString& text) const
    {
        const QStringList expected = text == "nothing"_s ? QStringList() : text.split(", "_s);
        bool equal = mAnswers.size() == expected.size();
        for (int i = 0; equal && i < expected.size(); ++i) {
            const QString form = QRegularExpression::escape(expected.at(i))
                                     .replace("\\*"_s, "\\d+"_s)
                                     .replace("\\!0"_s, "[1-9]\\d*"_s);
            equal = QRegularExpression(QRegularExpression::anchoredPattern(form))
                        .match(mAnswers.at(i))
                        .hasMatch();
        }
        return equal ? QString() : "it is "_s + mAnswers.join(", "_s);
    }

    /// "key=other server=3", each where it is not as ever, and at what time the call has to return.
    bool opens(const QString& how, bool expected)
    {
        QMap<QString, QString> values = {{"key"_s, key()},
                                         {"secret"_s, secret()},
                                         {"service"_s, "service"_s},
                                         {"server"_s, QString::number(server)},
                                         {"credentials"_s, "own"_s},
                                         {"from"_s, "0"_s},
                                         {"to"_s, QString::number(noHangMs)}};
        const QStringList items = how.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (const QString& item : items)
            values[item.section(QLatin1Char('='), 0, 0)] = item.section(QLatin1Char('='), 1);
        QElapsedTimer timer;
        timer.start();
        const bool opened = mInterface->createAuthSession(
            values["key"_s], values["secret"_s], values["service"_s], values["server"_s].toInt(),
            credentialsOf(values["credentials"_s]));
        return opened == expected && timer.elapsed() >= values["from"_s].toInt() &&
               timer.elapsed() < values["to"_s].toInt();
    }

    unsigned credentialsOf(const QString& text) const
    {
        return text == "own"_s ? mCredentials : text.toUInt();
    }

    /// A session opens, with the plugin told so, and a request is answered.
    bool worksAgain()
    {
        mAnswers.clear();
        const QString problem = run({"plugin as ever"_s, "open"_s, "asked initialise"_s,
                                     "ask token"_s, "answers token 0"_s});
        return problem.isEmpty();
    }

    void passTime(int milliseconds) override { letPass(milliseconds); }

    QMap<QString, std::function<void()>> mInAnswers; // what to do in the slots of these
};

KEL_TEST_IN_SESSION(TestScenarios)
#include "tst_scenarios.moc"
