// SPDX-License-Identifier: LGPL-2.1-or-later
// What the daemon kept being damaged, or written by another version of the plugin.
#include "integration/emulateddevice.h"
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"

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
    void initTestCase();
    void init();
    void cleanup() { mPlugin.reset(); }
    void aSessionThatIsNoneIsSignedInAnew_data();
    void aSessionThatIsNoneIsSignedInAnew();
    void aSessionWithOneDamagedValueStillWorks_data();
    void aSessionWithOneDamagedValueStillWorks();
    void aTokenThatIsNoneIsReplaced_data();
    void aTokenThatIsNoneIsReplaced();
    void whatAnotherVersionAddedIsNoHarm();
    void aSessionLargerThanTheDaemonTakesIsNone();
    void anEndThatHasPassedIsRenewed();
    void aDamagedNewPasswordIsNone_data();
    void aDamagedNewPasswordIsNone();
    void aNewPasswordIsNotUsedUnlessItsSecretIsKnown();
    void aDamagedServerSendsNoPassword_data();
    void aDamagedServerSendsNoPassword();
    void whatAnEarlierVersionStoredIsNotCarriedAlong();
    void whatOnlyTellsSaysThatThereIsNothing_data();
    void whatOnlyTellsSaysThatThereIsNothing();

private:
    QVariantMap sessionWith(const char* name, const QVariant& value) const;
    /// Downloads the profile with that in the daemon's store, and then once more with what is
    /// stored after it. What the service is asked for the first one.
    QList<int> repaired(const QVariant& session);

    QVariantMap mKept; // as the plugin has it stored
    QVariantMap mGood; // the session in it
};

void TestPluginDamage::initTestCase()
{
    QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
}

void TestPluginDamage::init()
{
    makePlugin();
    process("signIn", request());
    QVERIFY(waitForEnd());
    mKept = mStored;
    mGood = KeptData::sessionIn(mStored);
    for (const char* name : {"Token", "TokenSecret", "ValidUntil", "AccountId", "UserId"})
        QVERIFY2(mGood.contains(QLatin1String(name)), name);
    mEvents.clear();
    mStored.clear();
    Operations::operations();
}

QVariantMap TestPluginDamage::sessionWith(const char* name, const QVariant& value) const
{
    QVariantMap session = mGood;
    session.insert(QLatin1String(name), value);
    return session;
}

QList<int> TestPluginDamage::repaired(const QVariant& session)
{
    const auto download = [this](const QVariantMap& stored) {
        mEvents.clear();
        process("privateMechanism_downloadProfile", request(stored));
        return waitForEnd() && mEvents.last() == QLatin1String("result");
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

void TestPluginDamage::aSessionThatIsNoneIsSignedInAnew_data()
{
    QTest::addColumn<QVariant>("session");
    QTest::newRow("nothing") << QVariant();
    QTest::newRow("text") << QVariant(QStringLiteral("token"));
    QTest::newRow("bytes") << QVariant(QByteArray::fromHex("00ff80fe"));
    QTest::newRow("number") << QVariant(-1);
    QTest::newRow("list") << QVariant(QVariantList{QStringLiteral("Token"), 1});
    QTest::newRow("texts") << QVariant(QStringList{QStringLiteral("Token")});
    QTest::newRow("hash") << QVariant(QVariantHash{{QStringLiteral("Other"), 1}});
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QTest::newRow("huge text") << hugeText();
}

void TestPluginDamage::aSessionThatIsNoneIsSignedInAnew()
{
    QFETCH(QVariant, session);
    QCOMPARE(repaired(session), signedInAnew);
}

// Without a good token or the account's number, the rest is of no use.
void TestPluginDamage::aSessionWithOneDamagedValueStillWorks_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QList<int>>("expected");
    const QVariantMap map = {{QStringLiteral("Token"), QStringLiteral("a")}};
    for (const char* name : {"Token", "AccountId", "Consumer"}) {
        const auto row = [name](const char* what, const QVariant& value) {
            QTest::addRow("%s: %s", name, what) << QByteArray(name) << value << signedInAnew;
        };
        row("gone", QVariant());
        row("empty", QString(QLatin1String("")));
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
        QTest::addRow("ValidUntil: %s", what) << QByteArray("ValidUntil") << value << usedAsItIs;
    };
    end("gone", QVariant());
    end("text", QStringLiteral("tomorrow"));
    end("list", QVariantList{1});
    end("no number", std::numeric_limits<double>::quiet_NaN());
    end("infinite", std::numeric_limits<double>::infinity());
    end("largest", std::numeric_limits<qint64>::max());
    end("smallest", std::numeric_limits<qint64>::min());
    end("largest without sign", std::numeric_limits<quint64>::max());
    end("beyond milliseconds", std::numeric_limits<qint64>::max() / 1000 + 1);
}

void TestPluginDamage::aSessionWithOneDamagedValueStillWorks()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariant, value);
    QFETCH(QList<int>, expected);
    QCOMPARE(repaired(sessionWith(name.constData(), value)), expected);
}

void TestPluginDamage::aTokenThatIsNoneIsReplaced_data()
{
    QTest::addColumn<QString>("token");
    QTest::newRow("another") << QStringLiteral("0123456789abcdef");
    QTest::newRow("line break") << QStringLiteral("a\r\nX-Planted: 1");
    QTest::newRow("quote") << QStringLiteral("a\", oauth_version=\"9");
    QTest::newRow("path") << QStringLiteral("../accounts/1?a=b#c");
    QTest::newRow("not Latin") << QString::fromUtf8("Ключ");
    QTest::newRow("null character") << QString(QChar(0));
    QTest::newRow("half a pair") << QString(QChar(0xD800));
    QTest::newRow("long") << QString(3000, QLatin1Char('x'));
}

void TestPluginDamage::aTokenThatIsNoneIsReplaced()
{
    QFETCH(QString, token);
    const QList<int> asked = repaired(sessionWith("Token", token));
    QVERIFY(asked.size() >= signedInAnew.size());
    QCOMPARE(asked.mid(asked.size() - signedInAnew.size()), signedInAnew);
    QVERIFY(KeptData::sessionIn(mStored).value(QStringLiteral("Token")) != token);
}

void TestPluginDamage::whatAnotherVersionAddedIsNoHarm()
{
    QVariantMap session = sessionWith("Version", 2);
    session.insert(QStringLiteral("Tokens"), QVariantList{QStringLiteral("a"), 2});
    QCOMPARE(repaired(session), usedAsItIs);
}

void TestPluginDamage::aSessionLargerThanTheDaemonTakesIsNone()
{
    QVariantMap session = mGood;
    for (int i = 0; i < 1000; ++i)
        session.insert(QStringLiteral("Unknown %1").arg(i), i);
    QCOMPARE(repaired(session), signedInAnew);
    QVERIFY(!KeptData::sessionIn(mStored).contains(QStringLiteral("Unknown 0")));

    // As a value that would be carried along for ever.
    QCOMPARE(repaired(sessionWith("LoginId", QString(daemonTakes, QLatin1Char('x')))),
             signedInAnew);
    QCOMPARE(KeptData::sessionIn(mStored).value(QStringLiteral("LoginId")),
             QVariant(QStringLiteral("alice")));
}

void TestPluginDamage::anEndThatHasPassedIsRenewed()
{
    QCOMPARE(repaired(sessionWith("ValidUntil", qint64{1})), (QList<int>{2, 22}));
}

void TestPluginDamage::aDamagedNewPasswordIsNone_data()
{
    QTest::addColumn<QVariant>("changed");
    QTest::newRow("list") << QVariant(QVariantList{QStringLiteral("mistaken")});
    QTest::newRow("number") << QVariant(12345);
    QTest::newRow("bytes") << QVariant(QByteArray("mistaken"));
    QTest::newRow("map") << QVariant(QVariantMap{{QStringLiteral("New"), QStringLiteral("a")}});
    QTest::newRow("huge") << hugeText();
}

void TestPluginDamage::aDamagedNewPasswordIsNone()
{
    QFETCH(QVariant, changed);
    process("signIn", request(KeptData::with(mKept, "NewPassword", changed)));
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QVERIFY(!KeptData::mapIn(mStored).contains(QStringLiteral("NewPassword")));
}

void TestPluginDamage::aNewPasswordIsNotUsedUnlessItsSecretIsKnown()
{
    const QVariantMap kept = KeptData::with(mKept, "NewPassword", QStringLiteral("mistaken"));
    for (const QVariant& mark : {QVariant(), QVariant(QStringLiteral("secret")), QVariant(1),
                                 QVariant(QVariantMap{{QStringLiteral("Salt"), QByteArray()}})}) {
        mEvents.clear();
        process("signIn", request(KeptData::with(kept, "Secret", mark)));
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents.last(), QStringLiteral("result"));
    }
    mEvents.clear();
    process("signIn", request(kept));
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, QStringList{QStringLiteral("504")});
}

// Without it nobody can say where the password belongs: it stays here until the user types it
// again.
void TestPluginDamage::aDamagedServerSendsNoPassword_data()
{
    QTest::addColumn<QVariant>("server");
    QTest::newRow("gone") << QVariant();
    QTest::newRow("text") << QVariant(QStringLiteral("2"));
    QTest::newRow("list") << QVariant(QVariantList{2});
    QTest::newRow("fraction") << QVariant(2.0);
}

void TestPluginDamage::aDamagedServerSendsNoPassword()
{
    QFETCH(QVariant, server);
    const QVariantMap kept = KeptData::withSession(KeptData::with(mKept, "Server", server), {});
    QVariantMap data = request(kept);
    data.insert(QStringLiteral("ManualSignIn"), false);
    for (const char* mechanism : {"privateMechanism_ensureToken", "signIn"}) {
        mEvents.clear();
        process(mechanism, data);
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents, QStringList{QStringLiteral("703")});
    }
    QCOMPARE(Operations::operations(), QList<int>());
    mEvents.clear();
    process("signIn", request(kept));
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QCOMPARE(KeptData::mapIn(mStored).value(QStringLiteral("Server")), QVariant(2));
}

// In the clear, with the old password: it goes with the next store.
void TestPluginDamage::whatAnEarlierVersionStoredIsNotCarriedAlong()
{
    QVariantMap data = request(mKept);
    data.insert(QStringLiteral("Session 2 demo-key"),
                QVariantMap{{QStringLiteral("Token"), QStringLiteral("a")},
                            {QStringLiteral("AccountId"), QStringLiteral("1")}});
    data.insert(QStringLiteral("ChangedPassword"),
                QVariantMap{{QStringLiteral("Old"), QStringLiteral("secret")},
                            {QStringLiteral("New"), QStringLiteral("mistaken")}});
    process("signIn", data);
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents.last(), QStringLiteral("result"));
    QVERIFY(!KeptData::nameIn(mStored).isEmpty());
}

void TestPluginDamage::whatOnlyTellsSaysThatThereIsNothing_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    for (const char* mechanism : {"token", "userId", "loginIdentifier", "kelAccountId",
                                  "emailAddress", "privateMechanism_signOut"})
        QTest::newRow(mechanism) << QByteArray(mechanism);
}

void TestPluginDamage::whatOnlyTellsSaysThatThereIsNothing()
{
    QFETCH(QByteArray, mechanism);
    QVariantMap session;
    for (auto entry = mGood.cbegin(); entry != mGood.cend(); ++entry)
        session.insert(entry.key(), QVariantList{1});
    for (const QVariant& damaged : {QVariant(session), hugeText()}) {
        mEvents.clear();
        process(mechanism.constData(), request(KeptData::withSession(mKept, damaged)));
        QVERIFY(!mEvents.isEmpty());
        QCOMPARE(mEvents.last(), QStringLiteral("604"));
    }
    QCOMPARE(Operations::operations(), QList<int>());
}

QTEST_GUILESS_MAIN(TestPluginDamage)
#include "tst_plugin_damage.moc"
