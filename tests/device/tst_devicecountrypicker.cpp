// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/devicecountrypicker.h"
#include "platform/fakemodem.h"
#include "platform/privateconfiguration.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
using KelTest::PrivateConfiguration;

namespace {

const auto regionKey = "/meegotouch/i18n/region"_s;

} // namespace

class TestDeviceCountryPicker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mConfiguration.enter(), "needs the packages dconf-cli, dconf-service and dbus");
    }

    void init()
    {
        FakeModem::reset();
        QVERIFY(mConfiguration.clear(regionKey));
    }

    void theRegionIsWhatFollowsTheLastUnderscore_data()
    {
        const auto row = rows<QByteArray, QString>("value", "region");
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
    void theRegionIsWhatFollowsTheLastUnderscore()
    {
        const auto [value, region] = fetch<QByteArray, QString>("value", "region");
        if (!value.isEmpty())
            QVERIFY(mConfiguration.write(regionKey, value));
        QCOMPARE(DeviceCountryPicker().regionConfiguredOnDevice(), region);
    }

    void theRegionIsReadAfresh()
    {
        DeviceCountryPicker picker;
        QVERIFY(mConfiguration.write(regionKey, "'fi_FI'"));
        QCOMPARE(picker.deviceCountry(), "FI"_s);
        QVERIFY(mConfiguration.write(regionKey, "'sv_SE'"));
        QCOMPARE(picker.deviceCountry(), "SE"_s);
    }

    void withASimItsHomeCountryCounts_data()
    {
        const auto row = rows<bool, QString, QString>("locked", "mcc", "country");
        row("Finland", false, "244", "FI");
        row("340", false, "340", "MQ");
        // The region is set, and must not be used.
        row("unknown code", false, "999", {});
        row("no code", false, {}, {});
        row("locked, code known", true, "262", "DE");
        row("locked, code unknown", true, {}, {});
    }
    void withASimItsHomeCountryCounts()
    {
        const auto [locked, mcc] = fetch<bool, QString>("locked", "mcc");
        QVERIFY(mConfiguration.write(regionKey, "'en_GB'"));
        FakeModem::setSims({{locked, {}, mcc, {}}});
        QTEST(DeviceCountryPicker().deviceCountry(), "country");
    }

    void withoutASimTheRegionCounts()
    {
        QCOMPARE(DeviceCountryPicker().deviceCountry(), QString());
        QVERIFY(mConfiguration.write(regionKey, "'fi_FI'"));
        QCOMPARE(DeviceCountryPicker().deviceCountry(), "FI"_s);
    }

    void codesAreConverted()
    {
        DeviceCountryPicker picker;
        QCOMPARE(picker.convertMccToCountryCode("235"_s), "GB"_s);
        QCOMPARE(picker.convertMccToCountryCode("316"_s), "US"_s);
        QCOMPARE(picker.convertMccToCountryCode("999"_s), QString());
    }

private:
    PrivateConfiguration mConfiguration;
};

QTEST_GUILESS_MAIN(TestDeviceCountryPicker)
#include "tst_devicecountrypicker.moc"
