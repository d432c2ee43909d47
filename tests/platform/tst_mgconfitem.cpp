// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/mgconfitem.h"
#include "platform/privateconfiguration.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

using KelTest::PrivateConfiguration;

namespace {

const auto testKey = "/test/value"_s;

} // namespace

class TestMGConfItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
    }

    void anUnsetItemIsInvalid()
    {
        const MGConfItem item(testKey);
        QVERIFY(!item.value().isValid());
        QCOMPARE(item.key(), testKey);
    }

    void valuesKeepTheirKind_data()
    {
        columns<QByteArray, QVariant>("text", "value");
        QTest::newRow("text") << "'en_GB'"_ba << QVariant("en_GB"_s);
        QTest::newRow("empty text") << "''"_ba << QVariant(""_s);
        QTest::newRow("text beyond Latin-1") << "'\xE2\x82\xAC'"_ba << QVariant("\xE2\x82\xAC"_s);
        QTest::newRow("truth value") << "true"_ba << QVariant(true);
        QTest::newRow("byte") << "byte 0xfe"_ba << QVariant(254U);
        QTest::newRow("int16") << "int16 -5"_ba << QVariant(-5);
        QTest::newRow("uint16") << "uint16 65535"_ba << QVariant(65535U);
        QTest::newRow("int32") << "-7"_ba << QVariant(-7);
        QTest::newRow("uint32") << "uint32 4294967295"_ba << QVariant(4294967295U);
        QTest::newRow("int64") << "int64 -9223372036854775807"_ba
                               << QVariant(qlonglong(-9223372036854775807LL));
        QTest::newRow("uint64") << "uint64 18446744073709551615"_ba
                                << QVariant(qulonglong(18446744073709551615ULL));
        QTest::newRow("double") << "1.5"_ba << QVariant(1.5);
        QTest::newRow("texts") << "['a', 'b']"_ba << QVariant(QStringList{"a"_s, "b"_s});
        QTest::newRow("no texts") << "@as []"_ba << QVariant(QStringList());
        QTest::newRow("numbers") << "[1, 2]"_ba << QVariant();
        QTest::newRow("pair") << "('a', 1)"_ba << QVariant();
        QTest::newRow("variant") << "<'a'>"_ba << QVariant();
    }

    void valuesKeepTheirKind()
    {
        const auto [text, value] = fetch<QByteArray, QVariant>("text", "value");
        QVERIFY(mConfiguration.write(testKey, text));
        const QVariant read = MGConfItem(testKey).value();
        QCOMPARE(read.userType(), value.userType());
        QCOMPARE(read, value);
    }

    void thePathIsUsedAsItIs()
    {
        const QString region = "/meegotouch/i18n/region"_s;
        QVERIFY(mConfiguration.write(region, "'fi_FI'"));
        QCOMPARE(MGConfItem(region).value(), QVariant("fi_FI"_s));
        QVERIFY(!MGConfItem("/meegotouch/i18n/Region"_s).value().isValid());
    }

    void aValueIsReadAfresh()
    {
        const MGConfItem item(testKey);
        QVERIFY(mConfiguration.write(testKey, "'one'"));
        QCOMPARE(item.value(), QVariant("one"_s));
        QVERIFY(mConfiguration.write(testKey, "'two'"));
        QCOMPARE(item.value(), QVariant("two"_s));
        QVERIFY(mConfiguration.clear(testKey));
        QVERIFY(!item.value().isValid());
    }

    void whatIsNoPathOfAnItemIsInvalid_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("empty") << QString();
        QTest::newRow("no slash in front") << "test/value"_s;
        QTest::newRow("folder") << "/test/"_s;
        QTest::newRow("two slashes") << "/test//value"_s;
        QTest::newRow("half a surrogate pair") << "/test/"_s + QChar(0xD800);
    }

    void whatIsNoPathOfAnItemIsInvalid()
    {
        QFETCH(QString, key);
        QVERIFY(!MGConfItem(key).value().isValid());
    }

    void anUnreadableDatabaseIsAnEmptyOne()
    {
        // A profile that does not exist: there is no database at all.
        const QByteArray profile = qgetenv("DCONF_PROFILE");
        qputenv("DCONF_PROFILE", "/nonexistent/profile");
        QVERIFY(!MGConfItem(testKey).value().isValid());
        qputenv("DCONF_PROFILE", profile);
    }

private:
    PrivateConfiguration mConfiguration;
};

QTEST_GUILESS_MAIN(TestMGConfItem)
#include "tst_mgconfitem.moc"
