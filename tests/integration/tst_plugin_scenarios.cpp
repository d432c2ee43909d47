// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the scenarios of data/plugin, each a row: what the plugin is asked through the real daemon,
// and what comes of it. The README there says how they are written.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "support/literals.h"
#include "support/scenarios.h"
#include "support/sessionsandbox.h"

#include <QDataStream>

using namespace KelTest;

namespace {

/// The same user elsewhere: an identity and a session of its own.
struct AnotherDevice : PluginFixture
{
    using PluginFixture::openSession;
    using PluginFixture::process;
};

/// A value as it is written: "-" is none, "question:2:answer" and "hex:00ff" are bytes.
QVariant valueOf(const QString& name, const QString& text)
{
    if (text == "-"_s)
        return {};
    if (text.startsWith("hex:"_s))
        return QByteArray::fromHex(text.mid(4).toLatin1());
    if (text.startsWith("question:"_s)) {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        for (const QString& part : text.split(QLatin1Char(':')).mid(1))
            stream << (part.isEmpty() ? QString() : part);
        return bytes;
    }
    if (name == "ServerUrlValue"_s)
        return text.toInt();
    return text.isEmpty() ? ""_s : text;
}

QVariantMap dataOf(const QString& text)
{
    QVariantMap data;
    for (const QString& item : text.split(" | "_s, Qt::SkipEmptyParts)) {
        const QString name = item.section(QLatin1Char('='), 0, 0).trimmed();
        data.insert(name, valueOf(name, item.section(QLatin1Char('='), 1)));
    }
    return data;
}

} // namespace

class TestPluginScenarios : public PluginUserFixture, private Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY(openNewUser());
        mValues = {{"user"_s, mUser},
                   {"secret"_s, mPassword},
                   {"email"_s, mEmail},
                   {"number"_s, mNumber},
                   {"n"_s, QString::number(mCount)},
                   {"unavailable"_s, QString::number(SignOn::Error::MechanismNotAvailable)}};
        mLatest = {};
    }

    void cleanup()
    {
        EmulatedService::ask("DELETE", "/faults");
        EmulatedService::ask("POST", "/accept");
    }

    void everyScenario_data() { scenarioRows(QStringLiteral(KELACCOUNT_TEST_SCENARIOS)); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        const QString problem = run(lines);
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void aScenarioThatDoesNotHoldFails()
    {
        QVERIFY(EmulatedService::orderFaults("20*none"));
        for (const char* line :
             {"token => 0", "token", "data a=b", "kept Token = x", "keep x = kept Nothing",
              "unchanged", "faults taken", "at-service a = b", "open {user}", "expire nothing",
              "elsewhere it rains", "think about it", "differ a a", "signIn => 504",
              "signIn => 0: 2", "signIn => 0:", "signIn => not 0", "quiet", "open {nobody} x"})
            QVERIFY2(!run({text(line)}).isEmpty(), line);
    }

private:
    QString step(const QString& word, const QString& rest, const QString& /*more*/) override
    {
        const QString left = rest.section(" = "_s, 0, 0);
        const QString right = rest.section(" = "_s, 1);
        const QString name = rest.section(QLatin1Char(' '), 0, 0);
        const QString other = rest.section(QLatin1Char(' '), 1);
        if (rest.startsWith("=> "_s) || rest.contains(" => "_s))
            return request(word, rest.section("=> "_s, 0, 0), rest.section("=> "_s, 1));
        if (word == "open"_s)
            return expect(!other.isEmpty() && openSession(name, other));
        if (word == "signed-out"_s)
            return expect(openSignedOut(mUser, mPassword));
        if (word == "nameless"_s) {
            mValues["address"_s] = "nameless%1@example.org"_s.arg(mCount);
            mValues["number"_s] =
                addAccount({{"email"_s, mValues["address"_s]}, {"password"_s, mPassword}});
            return expect(openSignedOut(mValues["address"_s], mPassword));
        }
        if (word == "secret"_s)
            return expect(storeSecret(rest));
        if (word == "acl"_s)
            return expect(storeAccessControlList(rest.split(QLatin1Char(' '))));
        if (word == "forget"_s || rest == "tokens"_s) {
            const bool isDone = word == "forget"_s || (word == "expire"_s && letTokensExpire());
            operations();
            return expect(isDone);
        }
        if (word == "expire"_s)
            return expect(name == "session"_s && expireSession(other));
        if (word == "plugin"_s)
            return expect(rest == "ends"_s && killPluginProcesses() && startPluginAgain());
        if (word == "daemon"_s) {
            const bool isForgotten = signOutOfIdentity() && stored().isEmpty();
            operations();
            return expect(rest == "forgets"_s && isForgotten);
        }
        if (word == "elsewhere"_s)
            return expect(elsewhere(rest));
        if (word == "fault"_s)
            return expect(EmulatedService::orderFaults(rest.toLatin1()));
        if (word == "faults"_s)
            return expect(EmulatedService::faultsLeft().isEmpty());
        if (word == "refuse"_s || word == "accept"_s)
            return expect(
                EmulatedService::ask("POST", ("/" + word.toLatin1()).constData()).status == 200);
        if (word == "keep"_s) {
            const QString item = right.section(QLatin1Char(' '), 1);
            mValues[left] = (right.startsWith("kept "_s) ? storedSession() : mLatest.data)
                                .value(item)
                                .toString();
            return expect(!mValues.value(left).isEmpty());
        }
        if (word == "remember"_s) {
            mRemembered = stored();
            return expect(!mRemembered.isEmpty());
        }
        if (word == "unchanged"_s)
            return expect(!mRemembered.isEmpty() && stored() == mRemembered);
        if (word == "data"_s)
            return expect(mLatest.data == dataOf(rest) && mLatest.error >= 0);
        if (word == "kept"_s)
            return same(storedSession().value(left.section(" ="_s, 0, 0)).toString(), right);
        if (word == "at-service"_s)
            return same(accountAtService(mValues.value("number"_s)).value(left).toString(), right);
        if (word == "differ"_s)
            return expect(name != other);
        if (word == "quiet"_s)
            return expect(mLatest.error > 0 && mLatest.message.size() < 100 &&
                          !mLatest.message.contains(mUser) && !mLatest.message.contains(mPassword));
        return "what does it mean?"_s;
    }

    QString request(const QString& word, const QString& data, const QString& expected)
    {
        static const QStringList secretly{
            "registerAccount"_s, "downloadProfile"_s,  "updateSecurityQuestion"_s,
            "changepassword"_s,  "updateDeviceInfo"_s, "signOut"_s,
            "ensureToken"_s};
        const QByteArray mechanism =
            (secretly.contains(word) ? "privateMechanism_"_s + word : word).toLatin1();
        mLatest = process(mechanism.constData(), dataOf(data.trimmed()));
        if (expected == "not 0"_s)
            return expect(mLatest.error > 0);
        QString told = QString::number(mLatest.error);
        if (expected.contains(QLatin1Char(':'))) {
            told += QLatin1Char(':');
            const QList<int> numbers = operations();
            for (const int number : numbers)
                told += QLatin1Char(' ') + QString::number(number);
        }
        return same(told, expected);
    }

    bool expireSession(const QString& until)
    {
        if (until.isEmpty())
            return expire();
        QVariantMap session = storedSession();
        session.insert("ValidUntil"_s, until.toLongLong());
        return changeStoredSession(session);
    }

    bool elsewhere(const QString& what)
    {
        AnotherDevice other;
        bool isDone = false;
        if (what == "changes the password"_s) {
            isDone = other.openSession(mUser, mPassword) && other.process("signIn").error == 0 &&
                     other.process("privateMechanism_changepassword",
                                   {{"OldPassword"_s, mPassword},
                                    {"NewPassword"_s, "given elsewhere"_s}})
                             .error == 0;
        } else if (what == "locks the account"_s) {
            constexpr int failuresToLock = 10;
            isDone = other.openSession(mUser, "a guess"_s);
            for (int i = 0; i < failuresToLock; ++i)
                isDone = isDone && other.process("signIn").error == 504;
        }
        operations();
        return isDone;
    }

    Outcome mLatest;
    QVariantMap mRemembered;
};

QTEST_GUILESS_MAIN(TestPluginScenarios)
#include "tst_plugin_scenarios.moc"
