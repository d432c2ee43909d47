// SPDX-License-Identifier: LGPL-2.1-or-later
// What the daemon kept being damaged, or written by another version of the plugin.
#include "integration/emulateddevice.h"
#include "integration/emulatedservice.h"
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
    void aDamagedChangedPasswordIsNone_data();
    void aDamagedChangedPasswordIsNone();
    void withoutAPasswordADamagedChangedOneIsNotUsed();
    void whatOnlyTellsSaysThatThereIsNothing_data();
    void whatOnlyTellsSaysThatThereIsNothing();

private:
    QVariantMap sessionWith(const char* name, const QVariant& value) const;
    /// Downloads the profile with that in the daemon's store, and then once more with what is
    /// stored after it. What the service is asked for the first one.
    QList<int> repaired(const QVariant& session);

    QVariantMap mGood; // a session as the plugin stores it
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
    mGood = mStored.value(sessionKey()).toMap();
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
    if (!download({{sessionKey(), session}}))
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
    for (const char* name : {"Token", "AccountId"}) {
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
    for (const char* name : {"TokenSecret", "UserId", "LoginId", "EmailAddress", "ZorService"}) {
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
    QVERIFY(mStored.value(sessionKey()).toMap().value(QStringLiteral("Token")) != token);
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
    QCOMPARE(mStored.keys(), QStringList{sessionKey()});

    // As a value that would be carried along for ever.
    QCOMPARE(repaired(sessionWith("ZorService", QString(daemonTakes, QLatin1Char('x')))),
             signedInAnew);
    QCOMPARE(mStored.keys(), QStringList{sessionKey()});
}

void TestPluginDamage::anEndThatHasPassedIsRenewed()
{
    QCOMPARE(repaired(sessionWith("ValidUntil", qint64{1})), (QList<int>{2, 22}));
}

void TestPluginDamage::aDamagedChangedPasswordIsNone_data()
{
    QTest::addColumn<QVariant>("changed");
    const QString old = QStringLiteral("Old");
    const QString now = QStringLiteral("New");
    const QString secret = QStringLiteral("secret");
    QTest::newRow("text") << QVariant(QStringLiteral("mistaken"));
    QTest::newRow("list") << QVariant(QVariantList{secret, secret});
    QTest::newRow("number for the new one") << QVariant(QVariantMap{{old, secret}, {now, 12345}});
    QTest::newRow("bytes for the new one")
        << QVariant(QVariantMap{{old, secret}, {now, QByteArray("mistaken")}});
    QTest::newRow("only the old one") << QVariant(QVariantMap{{old, secret}});
    QTest::newRow("only the new one") << QVariant(QVariantMap{{now, QStringLiteral("mistaken")}});
    QTest::newRow("huge") << QVariant(QVariantMap{{old, secret}, {now, hugeText()}});
}

void TestPluginDamage::aDamagedChangedPasswordIsNone()
{
    QFETCH(QVariant, changed);
    process("signIn", request({{QStringLiteral("ChangedPassword"), changed}}));
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QCOMPARE(mStored.keys(), QStringList{sessionKey()});
}

void TestPluginDamage::withoutAPasswordADamagedChangedOneIsNotUsed()
{
    const QVariantMap changed = {{QStringLiteral("New"), QStringLiteral("secret")}};
    process("signIn", request({{QStringLiteral("ChangedPassword"), changed},
                               {QStringLiteral("Secret"), QString(QLatin1String(""))}}));
    QCOMPARE(mEvents, QStringList{QStringLiteral("615")});
    QCOMPARE(Operations::operations(), QList<int>());
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
        process(mechanism.constData(), request({{sessionKey(), damaged}}));
        QVERIFY(!mEvents.isEmpty());
        QCOMPARE(mEvents.last(), QStringLiteral("604"));
    }
    QCOMPARE(Operations::operations(), QList<int>());
}

QTEST_GUILESS_MAIN(TestPluginDamage)
#include "tst_plugin_damage.moc"
