// SPDX-License-Identifier: LGPL-2.1-or-later
// What the daemon kept being damaged, or written by another version of the plugin.
#include "integration/emulateddevice.h"
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

#include <limits>

using namespace KelTest;

namespace {

constexpr int daemonTakes = 4096;

const QList<int> signedInAnew{1, 22};
const QList<int> usedAsItIs{22};

QVariant hugeText()
{
    return QString(1024 * 1024, QLatin1Char('x'));
}

struct Operations : EmulatedDevice
{
    using EmulatedDevice::operations;
};

} // namespace

class TestPluginDamage : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
    }

    void init()
    {
        makePlugin();
        QCOMPARE(said("signIn"), stored);
        mKept = mStored;
        mGood = KeptData::sessionIn(mStored);
        for (const char* name : {"Token", "TokenSecret", "ValidUntil", "AccountId", "UserId"})
            QVERIFY2(mGood.contains(QLatin1String(name)), name);
        mEvents.clear();
        mStored.clear();
        Operations::operations();
    }

    void cleanup() { mPlugin.reset(); }

    void aSessionThatIsNoneIsSignedInAnew_data()
    {
        const auto row = rows<QVariant>("session");
        row("nothing", {});
        row("text", QVariant("token"_s));
        row("bytes", QVariant(QByteArray::fromHex("00ff80fe")));
        row("number", QVariant(-1));
        row("list", QVariant(QVariantList{"Token"_s, 1}));
        row("texts", QVariant(QStringList{"Token"_s}));
        row("hash", QVariant(QVariantHash{{"Other"_s, 1}}));
        row("empty map", QVariant(QVariantMap()));
        row("huge text", hugeText());
    }
    void aSessionThatIsNoneIsSignedInAnew()
    {
        QFETCH(QVariant, session);
        QCOMPARE(repaired(session), signedInAnew);
    }

    // Without a good token or the account's number, the rest is of no use.
    void aSessionWithOneDamagedValueStillWorks_data()
    {
        rows<QByteArray, QVariant, QList<int>>("name", "value", "expected");
        const QVariantMap map = {{"Token"_s, "a"_s}};
        for (const char* name : {"Token", "AccountId", "Consumer"}) {
            const auto row = [name](const char* what, const QVariant& value) {
                QTest::addRow("%s: %s", name, what) << QByteArray(name) << value << signedInAnew;
            };
            row("gone", QVariant());
            row("empty", ""_s);
            row("number", 17);
            row("bytes", QByteArray("\xff\xfe\x00 bytes", 9));
            row("list", QVariantList{1, 2});
            row("map", map);
            row("huge", hugeText());
        }
        for (const char* name : {"TokenSecret", "UserId", "LoginId", "EmailAddress"}) {
            const auto row = [name](const char* what, const QVariant& value) {
                QTest::addRow("%s: %s", name, what) << QByteArray(name) << value << usedAsItIs;
            };
            row("gone", QVariant());
            row("number", 17);
            row("map", map);
        }
        const auto end = [](const char* what, const QVariant& value) {
            QTest::addRow("ValidUntil: %s", what) << "ValidUntil"_ba << value << usedAsItIs;
        };
        end("gone", QVariant());
        end("text", "tomorrow"_s);
        end("list", QVariantList{1});
        end("no number", std::numeric_limits<double>::quiet_NaN());
        end("infinite", std::numeric_limits<double>::infinity());
        end("largest", std::numeric_limits<qint64>::max());
        end("smallest", std::numeric_limits<qint64>::min());
        end("largest without sign", std::numeric_limits<quint64>::max());
        end("beyond milliseconds", std::numeric_limits<qint64>::max() / 1000 + 1);
    }
    void aSessionWithOneDamagedValueStillWorks()
    {
        const auto [name, value, expected] =
            fetch<QByteArray, QVariant, QList<int>>("name", "value", "expected");
        QCOMPARE(repaired(sessionWith(name.constData(), value)), expected);
    }

    void aTokenThatIsNoneIsReplaced_data()
    {
        const auto row = rows<QString>("token");
        row("another", "0123456789abcdef");
        row("line break", "a\r\nX-Planted: 1");
        row("quote", "a\", oauth_version=\"9");
        row("path", "../accounts/1?a=b#c");
        row("not Latin", "Ключ");
        row("null character", QString(QChar(0)));
        row("half a pair", QString(QChar(0xD800)));
        row("long", QString(3000, QLatin1Char('x')));
    }
    void aTokenThatIsNoneIsReplaced()
    {
        QFETCH(QString, token);
        const QList<int> asked = repaired(sessionWith("Token", token));
        QVERIFY(asked.size() >= signedInAnew.size());
        QCOMPARE(asked.mid(asked.size() - signedInAnew.size()), signedInAnew);
        QVERIFY(KeptData::sessionIn(mStored).value("Token"_s) != token);
    }

    void whatAnotherVersionAddedIsNoHarm()
    {
        QVariantMap session = sessionWith("Version", 2);
        session.insert("Tokens"_s, QVariantList{"a"_s, 2});
        QCOMPARE(repaired(session), usedAsItIs);
    }

    void aSessionLargerThanTheDaemonTakesIsNone()
    {
        QVariantMap session = mGood;
        for (int i = 0; i < 1000; ++i)
            session.insert("Unknown %1"_s.arg(i), i);
        QCOMPARE(repaired(session), signedInAnew);
        QVERIFY(!KeptData::sessionIn(mStored).contains("Unknown 0"_s));

        // As a value that would be carried along for ever.
        QCOMPARE(repaired(sessionWith("LoginId", QString(daemonTakes, QLatin1Char('x')))),
                 signedInAnew);
        QCOMPARE(KeptData::sessionIn(mStored).value("LoginId"_s), QVariant("alice"_s));
    }

    void anEndThatHasPassedIsRenewed()
    {
        QCOMPARE(repaired(sessionWith("ValidUntil", qint64{1})), (QList<int>{2, 22}));
    }

    void aDamagedNewPasswordIsNone_data()
    {
        const auto row = rows<QVariant>("changed");
        row("list", QVariant(QVariantList{"mistaken"_s}));
        row("number", QVariant(12345));
        row("bytes", QVariant("mistaken"_ba));
        row("map", QVariant(QVariantMap{{"New"_s, "a"_s}}));
        row("huge", hugeText());
    }
    void aDamagedNewPasswordIsNone()
    {
        QFETCH(QVariant, changed);
        QCOMPARE(said("signIn", request(KeptData::with(mKept, "NewPassword", changed))), stored);
        QVERIFY(!KeptData::mapIn(mStored).contains("NewPassword"_s));
    }

    void aNewPasswordIsNotUsedUnlessItsSecretIsKnown()
    {
        const QVariantMap kept = KeptData::with(mKept, "NewPassword", "mistaken"_s);
        for (const QVariant& mark : {QVariant(), QVariant("secret"_s), QVariant(1),
                                     QVariant(QVariantMap{{"Salt"_s, QByteArray()}})}) {
            QCOMPARE(said("signIn", request(KeptData::with(kept, "Secret", mark))).last(),
                     "result"_s);
        }
        QCOMPARE(said("signIn", request(kept)), failed(504));
    }

    // Without it nobody can say where the password belongs: it stays here until the user types it
    // again.
    void aDamagedServerSendsNoPassword_data()
    {
        const auto row = rows<QVariant>("server");
        row("gone", {});
        row("text", QVariant("2"_s));
        row("list", QVariant(QVariantList{2}));
        row("fraction", QVariant(2.0));
    }
    void aDamagedServerSendsNoPassword()
    {
        QFETCH(QVariant, server);
        const QVariantMap kept = KeptData::withSession(KeptData::with(mKept, "Server", server), {});
        QVariantMap data = request(kept);
        data.insert("ManualSignIn"_s, false);
        for (const char* mechanism : {"privateMechanism_ensureToken", "signIn"}) {
            QCOMPARE(said(mechanism, data), failed(703));
        }
        QCOMPARE(Operations::operations(), QList<int>());
        QCOMPARE(said("signIn", request(kept)), stored);
        QCOMPARE(KeptData::mapIn(mStored).value("Server"_s), QVariant(2));
    }

    // In the clear, with the old password: it goes with the next store.
    void whatAnEarlierVersionStoredIsNotCarriedAlong()
    {
        QVariantMap data = request(mKept);
        data.insert("Session 2 demo-key"_s,
                    QVariantMap{{"Token"_s, "a"_s}, {"AccountId"_s, "1"_s}});
        data.insert("ChangedPassword"_s,
                    QVariantMap{{"Old"_s, "secret"_s}, {"New"_s, "mistaken"_s}});
        QCOMPARE(said("signIn", data).last(), "result"_s);
        QVERIFY(!KeptData::nameIn(mStored).isEmpty());
    }

    void whatOnlyTellsSaysThatThereIsNothing_data()
    {
        rowsNamed("mechanism", {"token", "userId", "loginIdentifier", "kelAccountId",
                                "emailAddress", "privateMechanism_signOut"});
    }
    void whatOnlyTellsSaysThatThereIsNothing()
    {
        QFETCH(QByteArray, mechanism);
        QVariantMap session;
        for (auto entry = mGood.cbegin(); entry != mGood.cend(); ++entry)
            session.insert(entry.key(), QVariantList{1});
        for (const QVariant& damaged : {QVariant(session), hugeText()}) {
            mEvents.clear();
            process(mechanism.constData(), request(KeptData::withSession(mKept, damaged)));
            QVERIFY(!mEvents.isEmpty());
            QCOMPARE(mEvents.last(), "604"_s);
        }
        QCOMPARE(Operations::operations(), QList<int>());
    }

private:
    QVariantMap sessionWith(const char* name, const QVariant& value) const
    {
        QVariantMap session = mGood;
        session.insert(QLatin1String(name), value);
        return session;
    }

    /// Downloads the profile with that in the daemon's store, and then once more with what is
    /// stored after it. What the service is asked for the first one.
    QList<int> repaired(const QVariant& session)
    {
        const auto download = [this](const QVariantMap& kept) {
            return said("privateMechanism_downloadProfile", request(kept)).endsWith("result"_s);
        };
        if (!download(KeptData::withSession(mKept, session)))
            return {};
        const QList<int> asked = Operations::operations();
        if (mStored.isEmpty())
            return asked;
        if (!download(mStored))
            return {};
        return Operations::operations() == usedAsItIs ? asked : QList<int>();
    }

    QVariantMap mKept; // as the plugin has it stored
    QVariantMap mGood; // the session in it
};

QTEST_GUILESS_MAIN(TestPluginDamage)
#include "tst_plugin_damage.moc"
