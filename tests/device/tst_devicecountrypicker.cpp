// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/devicecountrypicker.h"
#include "platform/fakemodem.h"
#include "platform/privateconfiguration.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
using KelTest::PrivateConfiguration;

class TestDeviceCountryPicker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void theRegionIsWhatFollowsTheLastUnderscore_data();
    void theRegionIsWhatFollowsTheLastUnderscore();
    void theRegionIsReadAfresh();
    void withASimItsHomeCountryCounts_data();
    void withASimItsHomeCountryCounts();
    void withoutASimTheRegionCounts();
    void codesAreConverted();

private:
    PrivateConfiguration mConfiguration;
};

namespace {

const auto regionKey = QStringLiteral("/meegotouch/i18n/region");

} // namespace

void TestDeviceCountryPicker::initTestCase()
{
    QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
}

void TestDeviceCountryPicker::init()
{
    FakeModem::reset();
    QVERIFY(mConfiguration.clear(regionKey));
}

void TestDeviceCountryPicker::theRegionIsWhatFollowsTheLastUnderscore_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("region");
    const auto row = [](const char* name, const char* value, const char* region) {
        QTest::newRow(name) << QByteArray(value) << QString::fromUtf8(region);
    };
    row("unset", "", "");
    row("language and country", "'en_GB'", "GB");
    row("language only", "'fi'", "fi");
    row("several underscores", "'zh_Hant_TW'", "TW");
    row("empty text", "''", "");
    row("ends in an underscore", "'en_'", "");
    row("begins with an underscore", "'_SE'", "SE");
    row("number", "uint32 358", "358");
    row("truth value", "true", "true");
    row("list of one text", "['en_GB']", "GB");
    row("list of two texts", "['en_GB', 'fi_FI']", "");
    row("pair", "('en_GB', 1)", "");
}

void TestDeviceCountryPicker::theRegionIsWhatFollowsTheLastUnderscore()
{
    QFETCH(QByteArray, value);
    QFETCH(QString, region);
    if (!value.isEmpty())
        QVERIFY(mConfiguration.write(regionKey, value));
    QCOMPARE(DeviceCountryPicker().regionConfiguredOnDevice(), region);
}

void TestDeviceCountryPicker::theRegionIsReadAfresh()
{
    DeviceCountryPicker picker;
    QVERIFY(mConfiguration.write(regionKey, "'fi_FI'"));
    QCOMPARE(picker.deviceCountry(), QStringLiteral("FI"));
    QVERIFY(mConfiguration.write(regionKey, "'sv_SE'"));
    QCOMPARE(picker.deviceCountry(), QStringLiteral("SE"));
}

void TestDeviceCountryPicker::withASimItsHomeCountryCounts_data()
{
    QTest::addColumn<bool>("locked");
    QTest::addColumn<QString>("mcc");
    QTest::addColumn<QString>("country");
    QTest::newRow("Finland") << false << QStringLiteral("244") << QStringLiteral("FI");
    QTest::newRow("340") << false << QStringLiteral("340") << QStringLiteral("MQ");
    // The region is set, and must not be used.
    QTest::newRow("unknown code") << false << QStringLiteral("999") << QString();
    QTest::newRow("no code") << false << QString() << QString();
    QTest::newRow("locked, code known") << true << QStringLiteral("262") << QStringLiteral("DE");
    QTest::newRow("locked, code unknown") << true << QString() << QString();
}

void TestDeviceCountryPicker::withASimItsHomeCountryCounts()
{
    QFETCH(bool, locked);
    QFETCH(QString, mcc);
    QVERIFY(mConfiguration.write(regionKey, "'en_GB'"));
    FakeModem::setSims({{locked, {}, mcc, {}}});
    QTEST(DeviceCountryPicker().deviceCountry(), "country");
}

void TestDeviceCountryPicker::withoutASimTheRegionCounts()
{
    QCOMPARE(DeviceCountryPicker().deviceCountry(), QString());
    QVERIFY(mConfiguration.write(regionKey, "'fi_FI'"));
    QCOMPARE(DeviceCountryPicker().deviceCountry(), QStringLiteral("FI"));
}

void TestDeviceCountryPicker::codesAreConverted()
{
    DeviceCountryPicker picker;
    QCOMPARE(picker.convertMccToCountryCode(QStringLiteral("235")), QStringLiteral("GB"));
    QCOMPARE(picker.convertMccToCountryCode(QStringLiteral("316")), QStringLiteral("US"));
    QCOMPARE(picker.convertMccToCountryCode(QStringLiteral("999")), QString());
}

QTEST_GUILESS_MAIN(TestDeviceCountryPicker)
#include "tst_devicecountrypicker.moc"
