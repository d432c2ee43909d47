// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/mgconfitem.h"
#include "platform/privateconfiguration.h"

#include <QTest>

using KelTest::PrivateConfiguration;

class TestMGConfItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void anUnsetItemIsInvalid();
    void valuesKeepTheirKind_data();
    void valuesKeepTheirKind();
    void thePathIsUsedAsItIs();
    void aValueIsReadAfresh();
    void whatIsNoPathOfAnItemIsInvalid_data();
    void whatIsNoPathOfAnItemIsInvalid();
    void anUnreadableDatabaseIsAnEmptyOne();

private:
    PrivateConfiguration mConfiguration;
};

namespace {

const auto testKey = QStringLiteral("/test/value");

} // namespace

void TestMGConfItem::initTestCase()
{
    QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
}

void TestMGConfItem::anUnsetItemIsInvalid()
{
    const MGConfItem item(testKey);
    QVERIFY(!item.value().isValid());
    QCOMPARE(item.key(), testKey);
}

void TestMGConfItem::valuesKeepTheirKind_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QByteArray("'en_GB'") << QVariant(QStringLiteral("en_GB"));
    QTest::newRow("empty text") << QByteArray("''") << QVariant(QString(QLatin1String("")));
    QTest::newRow("text beyond Latin-1")
        << QByteArray("'\xE2\x82\xAC'") << QVariant(QString::fromUtf8("\xE2\x82\xAC"));
    QTest::newRow("truth value") << QByteArray("true") << QVariant(true);
    QTest::newRow("byte") << QByteArray("byte 0xfe") << QVariant(254U);
    QTest::newRow("int16") << QByteArray("int16 -5") << QVariant(-5);
    QTest::newRow("uint16") << QByteArray("uint16 65535") << QVariant(65535U);
    QTest::newRow("int32") << QByteArray("-7") << QVariant(-7);
    QTest::newRow("uint32") << QByteArray("uint32 4294967295") << QVariant(4294967295U);
    QTest::newRow("int64") << QByteArray("int64 -9223372036854775807")
                           << QVariant(qlonglong(-9223372036854775807LL));
    QTest::newRow("uint64") << QByteArray("uint64 18446744073709551615")
                            << QVariant(qulonglong(18446744073709551615ULL));
    QTest::newRow("double") << QByteArray("1.5") << QVariant(1.5);
    QTest::newRow("texts") << QByteArray("['a', 'b']")
                           << QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")});
    QTest::newRow("no texts") << QByteArray("@as []") << QVariant(QStringList());
    QTest::newRow("numbers") << QByteArray("[1, 2]") << QVariant();
    QTest::newRow("pair") << QByteArray("('a', 1)") << QVariant();
    QTest::newRow("variant") << QByteArray("<'a'>") << QVariant();
}

void TestMGConfItem::valuesKeepTheirKind()
{
    QFETCH(QByteArray, text);
    QFETCH(QVariant, value);
    QVERIFY(mConfiguration.write(testKey, text));
    const QVariant read = MGConfItem(testKey).value();
    QCOMPARE(read.userType(), value.userType());
    QCOMPARE(read, value);
}

void TestMGConfItem::thePathIsUsedAsItIs()
{
    const QString region = QStringLiteral("/meegotouch/i18n/region");
    QVERIFY(mConfiguration.write(region, "'fi_FI'"));
    QCOMPARE(MGConfItem(region).value(), QVariant(QStringLiteral("fi_FI")));
    QVERIFY(!MGConfItem(QStringLiteral("/meegotouch/i18n/Region")).value().isValid());
}

void TestMGConfItem::aValueIsReadAfresh()
{
    const MGConfItem item(testKey);
    QVERIFY(mConfiguration.write(testKey, "'one'"));
    QCOMPARE(item.value(), QVariant(QStringLiteral("one")));
    QVERIFY(mConfiguration.write(testKey, "'two'"));
    QCOMPARE(item.value(), QVariant(QStringLiteral("two")));
    QVERIFY(mConfiguration.clear(testKey));
    QVERIFY(!item.value().isValid());
}

void TestMGConfItem::whatIsNoPathOfAnItemIsInvalid_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("empty") << QString();
    QTest::newRow("no slash in front") << QStringLiteral("test/value");
    QTest::newRow("folder") << QStringLiteral("/test/");
    QTest::newRow("two slashes") << QStringLiteral("/test//value");
    QTest::newRow("half a surrogate pair") << QStringLiteral("/test/") + QChar(0xD800);
}

void TestMGConfItem::whatIsNoPathOfAnItemIsInvalid()
{
    QFETCH(QString, key);
    QVERIFY(!MGConfItem(key).value().isValid());
}

void TestMGConfItem::anUnreadableDatabaseIsAnEmptyOne()
{
    // A profile that does not exist: there is no database at all.
    const QByteArray profile = qgetenv("DCONF_PROFILE");
    qputenv("DCONF_PROFILE", "/nonexistent/profile");
    QVERIFY(!MGConfItem(testKey).value().isValid());
    qputenv("DCONF_PROFILE", profile);
}

QTEST_GUILESS_MAIN(TestMGConfItem)
#include "tst_mgconfitem.moc"
