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
        const auto row = rows<QByteArray, QVariant>("text", "value");
        row("text", "'en_GB'", QVariant("en_GB"_s));
        row("empty text", "''", QVariant(""_s));
        row("text beyond Latin-1", "'\xE2\x82\xAC'", QVariant("\xE2\x82\xAC"_s));
        row("truth value", "true", QVariant(true));
        row("byte", "byte 0xfe", QVariant(254U));
        row("int16", "int16 -5", QVariant(-5));
        row("uint16", "uint16 65535", QVariant(65535U));
        row("int32", "-7", QVariant(-7));
        row("uint32", "uint32 4294967295", QVariant(4294967295U));
        row("int64", "int64 -9223372036854775807", QVariant(qlonglong(-9223372036854775807LL)));
        row("uint64", "uint64 18446744073709551615", QVariant(qulonglong(18446744073709551615ULL)));
        row("double", "1.5", QVariant(1.5));
        row("texts", "['a', 'b']", QVariant(QStringList{"a"_s, "b"_s}));
        row("no texts", "@as []", QVariant(QStringList()));
        row("numbers", "[1, 2]", {});
        row("pair", "('a', 1)", {});
        row("variant", "<'a'>", {});
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
        const auto row = rows<QString>("key");
        row("empty", {});
        row("no slash in front", "test/value");
        row("folder", "/test/");
        row("two slashes", "/test//value");
        row("half a surrogate pair", "/test/"_s + QChar(0xD800));
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
