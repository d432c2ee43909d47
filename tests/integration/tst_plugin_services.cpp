// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the scenarios of data/services, each a row: what the plugin says and sends, with two
// services in this process that answer each request as they are told. The README there says how
// they are written.
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "integration/scriptedservice.h"
#include "integration/servicetable.h"
#include "plugin/oldpasswords.h"
#include "plugin/storedsession.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/timestampmanager.h"
#include "support/literals.h"
#include "support/scenarios.h"
#include "support/testauthority.h"

#include <QDateTime>
#include <QSet>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelRestHandler::TimeStampManager;

namespace {

constexpr int elsewhere = 0; // every other number leads home
const auto prefix = "privateMechanism_"_s;

QVariant registrationWith(const QString& password)
{
    KelRestHandler::RegistrationInfoData newcomer;
    newcomer.emailAddress = "new@example.org"_s;
    newcomer.password = password;
    newcomer.serviceTag = "dGFn";
    return KelRestHandler::serializeRegistration(newcomer);
}

/// A value as it is written: its kind and what that is made of, or a text.
QVariant valueOf(const QString& text)
{
    using Make = QVariant (*)(const QString&);
    static const QMap<QString, Make> kinds = {
        {"none"_s, [](const QString&) { return QVariant(); }},
        {"true"_s, [](const QString&) { return QVariant(true); }},
        {"false"_s, [](const QString&) { return QVariant(false); }},
        {"int"_s, [](const QString& rest) { return QVariant(rest.toInt()); }},
        {"long"_s, [](const QString& rest) { return QVariant(rest.toLongLong()); }},
        {"ulong"_s, [](const QString& rest) { return QVariant(rest.toULongLong()); }},
        {"double"_s, [](const QString& rest) { return QVariant(rest.toDouble()); }},
        {"char"_s, [](const QString& rest) { return QVariant(QString(QChar(rest.toInt()))); }},
        {"bytes"_s, [](const QString& rest) { return QVariant(rest.toUtf8() + '\xff'); }},
        {"huge"_s, [](const QString&) { return QVariant(QString(1 << 20, QLatin1Char('x'))); }},
        {"items"_s,
         [](const QString& rest) {
             return QVariant(QVariantList{rest, 1});
         }},
        {"list"_s,
         [](const QString& rest) {
             return QVariant(rest.isEmpty() ? QStringList() : rest.split(QLatin1Char(',')));
         }},
        {"map"_s,
         [](const QString& rest) {
             return QVariant(QVariantMap{{rest.section(QLatin1Char('='), 0, 0),
                                          rest.section(QLatin1Char('='), 1).toInt()}});
         }},
        {"hash"_s,
         [](const QString& rest) {
             return QVariant(QVariantHash{{rest, 1}});
         }},
        {"registration"_s, registrationWith}};
    const Make make = kinds.value(text.section(QLatin1Char(':'), 0, 0));
    if (make)
        return make(text.section(QLatin1Char(':'), 1));
    return text.isEmpty() ? ""_s : QString(text).replace("\\r\\n"_s, "\r\n"_s);
}

QVariantMap dataOf(const QString& text)
{
    QVariantMap data;
    for (const QString& item : text.split(" | "_s, Qt::SkipEmptyParts))
        data.insert(item.section(QLatin1Char('='), 0, 0),
                    valueOf(item.section(QLatin1Char('='), 1).trimmed()));
    return data;
}

} // namespace

class TestPluginServices : public PluginObject, private Scenarios
{
    Q_OBJECT

private Q_SLOTS:
    void everyScenario_data() { scenarioRows(QStringLiteral(KELACCOUNT_TEST_SCENARIOS)); }
    void everyScenario()
    {
        QFETCH(QStringList, lines);
        start();
        QStringList all = mPlugin->mechanisms();
        all.replaceInStrings(prefix, QString());
        const auto without = [&all](const QStringList& left) {
            QStringList some = all;
            for (const QString& name : left)
                some.removeAll(name);
            return some.join(QLatin1Char(' '));
        };
        mValues = {{"mechanisms"_s, without({})},
                   {"serving"_s, without({"initialise"_s, "close"_s, "serverUTCTime"_s})},
                   {"storing"_s, without({"changepassword"_s})},
                   {"canceled"_s, QString::number(SignOn::Error::SessionCanceled)}};
        QString problem = run(lines);
        if (problem.isEmpty())
            problem = leftOver();
        QVERIFY2(problem.isEmpty(), qPrintable(problem));
    }

    void aScenarioThatDoesNotHoldFails()
    {
        const QString lines =
            "signIn => result, signIn, signIn Secret= => store result, order nothing, said, "
            "ends 500, asked, asked PUT tokens/a, tokens first, digests home 0, digests moon 1, "
            "digests elsewhere 1, kept Token = x, keeps Server = 3, answer Token = x, keep a = b, "
            "differ a a, stamp 3600, session moved, refuses nothing, daemon remembers, "
            "plugin stops, think about it, foo => result"_s;
        for (const QString& line : lines.split(", "_s)) {
            start();
            QCOMPARE(run({"signIn => store result"_s}), QString());
            QVERIFY2(!run({line}).isEmpty(), qPrintable(line));
        }
    }

    void aSessionLargerThanTheDaemonTakesIsNone()
    {
        start();
        QCOMPARE(run({"signIn => store result"_s, "asked POST tokens"_s}), QString());
        QVariantMap session = KeptData::sessionIn(mKept);
        for (int i = 0; i < 1000; ++i)
            session.insert("Unknown %1"_s.arg(i), i);
        mKept = KeptData::withSession(mKept, session);
        QCOMPARE(run({"downloadProfile => store result"_s,
                      "asked POST tokens, GET accounts/1000042/profile"_s, "kept Unknown 0 ="_s}),
                 QString());
    }

    void anOldPasswordWaitsLongerUpToALimit()
    {
        const int seconds[] = {0, 0, 0, 1, 2, 4, 8, 16, 16, 16};
        int before = 0;
        for (const int delay : seconds)
            QCOMPARE(ZorAuth::oldPasswordDelayMs(before++), delay * 1000);
        for (const int many : {1000, 0x7fffffff})
            QCOMPARE(ZorAuth::oldPasswordDelayMs(many), 16000);
    }

    void cleanupTestCase() { mPlugin.reset(); }

private:
    void start()
    {
        ServiceTable::leaveProxies();
        TimeStampManager::getTimeStampManager()->setServerTimeDifference(0);
        mPlugin.reset();
        // Over TLS: only then is the service's clock believed.
        const QSslConfiguration tls = mAuthority.serverFor("x", "IP:127.0.0.1");
        mHome = std::make_unique<ScriptedService>(tls);
        mElsewhere = std::make_unique<ScriptedService>(tls);
        ServiceTable::set(mHome->base());
        ServiceTable::set(elsewhere, mElsewhere->base());
        mKept.clear();
        mAsked = 0;
        makePlugin();
    }

    QString step(const QString& word, const QString& rest, const QString& /*more*/) override
    {
        const QString left = rest.section(" ="_s, 0, 0);
        const QString right = rest.section(" ="_s, 1).mid(1);
        const QString name = rest.section(QLatin1Char(' '), 0, 0);
        const QString other = rest.section(QLatin1Char(' '), 1);
        if (rest.startsWith("=> "_s) || rest.contains(" => "_s)) {
            begin(word, rest.section("=> "_s, 0, 0));
            waitForEnd();
            return said(rest.section("=> "_s, 1));
        }
        if (word == "begin"_s)
            return begin(name, other), QString();
        if (word == "ends"_s && !waitForEnd())
            return "it does not"_s;
        if (word == "ends"_s && (rest == "anything"_s || rest == "without a store"_s))
            return expect(rest == "anything"_s || !mEvents.contains("store"_s));
        if (word == "ends"_s)
            return said(rest);
        if (word == "said"_s) {
            QCoreApplication::processEvents();
            return said(rest);
        }
        if (word == "cancel"_s)
            return mPlugin->cancel(), expect(rest.isEmpty());
        if (word == "fresh"_s) {
            const QString problem = leftOver();
            start();
            return problem;
        }
        if (word == "plugin"_s)
            return makePlugin(), expect(rest == "starts again"_s);
        if (word == "daemon"_s)
            return mKept.clear(), mStored.clear(), expect(rest == "forgets"_s);
        if (word == "session"_s)
            return keepSession(rest);
        if (word == "damage"_s) {
            mKept = KeptData::withSession(mKept, changed(KeptData::sessionIn(mKept), rest));
            return {};
        }
        if (word == "replace"_s) {
            const QVariantMap data = dataOf(rest);
            mKept =
                data.firstKey() == "Session"_s
                    ? KeptData::withSession(mKept, data.first())
                    : KeptData::with(mKept, data.firstKey().toLatin1().constData(), data.first());
            return {};
        }
        if (word == "order"_s)
            return expect(mHome->order(rest));
        if (word == "refuses"_s || word == "takes"_s) {
            mHome->refusesPasswords = word == "refuses"_s;
            return expect(rest == "passwords"_s);
        }
        if (word == "keep"_s)
            return keepName(rest);
        // What has to hold.
        if (word == "differ"_s)
            return expect(name != other);
        if (word == "asked"_s)
            return asked(rest);
        if (word == "tokens"_s)
            return same(mTokens.join(QLatin1Char(' ')), rest);
        if (word == "digests"_s) {
            const bool isHome = name == "home"_s;
            return !isHome && name != "elsewhere"_s
                       ? "nobody is there"_s
                       : same(QString::number((isHome ? mHome : mElsewhere)->digests()), other);
        }
        if (word == "kept"_s)
            return same(KeptData::sessionIn(mKept).value(left).toString(), right);
        if (word == "keeps"_s)
            return same(KeptData::mapIn(mKept).value(left).toString(), right);
        if (word == "answer"_s)
            return same(mAnswer.value(left).toString(), right);
        if (word == "stamp"_s)
            return stamp(rest.toLongLong());
        return "what does it mean?"_s;
    }

    /// What holds in every scenario: no order is left, the service elsewhere was asked nothing, and
    /// the one at home, which takes no nonce twice, got none twice.
    QString leftOver() const
    {
        QSet<QByteArray> nonces;
        for (const WireRequest& request : mHome->requests())
            nonces.insert(ScriptedService::authorization(request, "oauth_nonce"));
        if (mHome->ordersLeft() > 0 || !mElsewhere->requests().isEmpty())
            return "an order is left, or there was a request elsewhere"_s;
        return same(QString::number(nonces.size()), QString::number(mHome->requests().size()));
    }

    /// A request with what the daemon keeps, and the data over it.
    void begin(const QString& mechanism, const QString& data)
    {
        const bool isPrivate = mPlugin->mechanisms().contains(prefix + mechanism);
        QVariantMap all = request(mKept);
        const QVariantMap own = dataOf(data);
        for (auto entry = own.cbegin(); entry != own.cend(); ++entry)
            all.insert(entry.key(), entry.value());
        mEvents.clear();
        mAnswer.clear();
        mStored.clear();
        process((isPrivate ? prefix + mechanism : mechanism).toLatin1().constData(), all);
    }

    QString said(const QString& expected)
    {
        if (!mStored.isEmpty())
            mKept = mStored;
        return same(mEvents.join(QLatin1Char(' ')), expected);
    }

    /// What the service at home was asked since this was asked.
    QString asked(const QString& expected)
    {
        QStringList list;
        mTokens.clear();
        for (const WireRequest& request : mHome->requests().mid(mAsked)) {
            list.append(QString::fromLatin1(ScriptedService::asText(request)));
            const QByteArray token = ScriptedService::authorization(request, "oauth_token");
            mTokens.append(token.isEmpty() ? "-"_s : QString::fromLatin1(token));
        }
        mAsked = mHome->requests().size();
        return same(list.join(", "_s), expected);
    }

    static QVariantMap changed(QVariantMap session, const QString& text)
    {
        const QVariantMap data = dataOf(text);
        for (auto entry = data.cbegin(); entry != data.cend(); ++entry)
            session.insert(entry.key(), entry.value());
        return session;
    }

    /// The daemon keeps a session with that token from now on.
    QString keepSession(const QString& rest)
    {
        const QVariantMap session = {
            {"Token"_s, rest.section("Token="_s, 1)},
            {"AccountId"_s, "1000042"_s},
            {"LoginId"_s, "alice"_s},
            {"Consumer"_s,
             ZorAuth::Mark(ZorAuth::Mark::Of::Key,
                           ZorAuth::consumerIdentity("demo-key"_s, "demo-secret"_s, mHome->base()))
                 .toMap()}};
        mKept = {
            {"Kept first"_s,
             QVariantMap{{"Server"_s, 2}, {"Sessions"_s, QVariantMap{{"demo-key"_s, session}}}}}};
        return expect(rest.startsWith("Token="_s));
    }

    /// The name under which the plugin stores, of which nobody knows the next.
    QString keepName(const QString& rest)
    {
        const QString name = KeptData::nameIn(mKept);
        mValues[rest.section(" = "_s, 0, 0)] = QString(name).remove(QLatin1Char(' '));
        return expect(rest.section(" = "_s, 1) == "name"_s &&
                      name.size() >= 32 + int(qstrlen(KeptData::namePrefix)));
    }

    /// By which clock the latest request was sent, give or take a slow machine.
    QString stamp(qint64 secondsAhead) const
    {
        const qint64 time =
            ScriptedService::authorization(mHome->requests().last(), "oauth_timestamp")
                .toLongLong();
        return expect(qAbs(time - secondsAhead - QDateTime::currentSecsSinceEpoch()) < 60);
    }

    TestAuthority mAuthority;
    std::unique_ptr<ScriptedService> mHome;
    std::unique_ptr<ScriptedService> mElsewhere;
    QVariantMap mKept; ///< by the daemon
    int mAsked = 0;    ///< requests that "asked" has told of
    QStringList mTokens;
};

QTEST_GUILESS_MAIN(TestPluginServices)
#include "tst_plugin_services.moc"
