// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/deviceinfoutil.h"
#include "platform/fakemodem.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsysteminfo.h"
#include "platform/qsystemnetworkinfo.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

using KelRestHandler::DeviceInfoUtil;
using KelRestHandler::SimFacts;
namespace FakeModem = KelTest::FakeModem;

class TestDeviceInfoUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FakeModem::reset(); }

    void factsComeFromTheModem()
    {
        FakeModem::setModems({{{}, {}, "356938035643809"_s}});
        FakeModem::setSims({{false, "244051234567890"_s, "244"_s, "05"_s}});
        DeviceInfoUtil device;
        QCOMPARE(device.deviceIMEI(), "356938035643809"_s);
        QCOMPARE(device.deviceIMSI(), "244051234567890"_s);
        QCOMPARE(device.deviceMCC(), "244"_s);
        QCOMPARE(device.deviceMNC(), "05"_s);
        QCOMPARE(device.deviceMSIN(), "1234567890"_s);
        QVERIFY(device.simStatus());
    }

    void withoutAModemEverythingIsEmpty()
    {
        DeviceInfoUtil device;
        QCOMPARE(device.deviceIMEI(), QString());
        QCOMPARE(device.deviceIMSI(), QString());
        QCOMPARE(device.deviceMCC(), QString());
        QCOMPARE(device.deviceMNC(), QString());
        QCOMPARE(device.deviceMSIN(), QString());
        QVERIFY(!device.simStatus());
    }

    void everyCallReadsAfresh()
    {
        DeviceInfoUtil device;
        QVERIFY(!device.simStatus());
        FakeModem::setSims({{false, {}, "262"_s, {}}});
        QVERIFY(device.simStatus());
        QCOMPARE(device.deviceMCC(), "262"_s);
        FakeModem::setSims({});
        QVERIFY(!device.simStatus());
        QCOMPARE(device.deviceMCC(), QString());
    }

    void msinIsTheImsiWithoutItsHome_data()
    {
        const auto row = rows<QString, QString, QString, QString>("imsi", "mcc", "mnc", "msin");
        row("two-digit network", "244051234567890", "244", "05", "1234567890");
        row("three-digit network", "310150123456789", "310", "150", "123456789");
        row("as long as its home", "24405", "244", "05", "");
        row("one digit longer", "244059", "244", "05", "9");
        row("shorter than its home", "2440", "244", "05", "");
        row("no home", "244051234567890", "", "", "");
        row("country only", "244051234567890", "244", "", "051234567890");
        row("network only", "244051234567890", "", "05", "4051234567890");
        row("no IMSI", "", "244", "05", "");
    }
    void msinIsTheImsiWithoutItsHome()
    {
        const auto [imsi, mcc, mnc] = fetch<QString, QString, QString>("imsi", "mcc", "mnc");
        FakeModem::setSims({{false, imsi, mcc, mnc}});
        DeviceInfoUtil device;
        QTEST(device.deviceMSIN(), "msin");
        const SimFacts facts = device.simFacts();
        QCOMPARE(facts.mcc, mcc);
        QCOMPARE(facts.mnc, mnc);
        QCOMPARE(facts.hashedMsin, device.hashedMsin());
    }

    void aMissingImsiIsAskedForOnce()
    {
        // Each reading of a service that hangs costs a second.
        QCOMPARE(DeviceInfoUtil().deviceMSIN(), QString());
        QCOMPARE(FakeModem::readings(), 1);
    }

    void simFactsTakeOneReading()
    {
        QCOMPARE(DeviceInfoUtil().simFacts().mcc, QString());
        QCOMPARE(FakeModem::readings(), 1);
    }

    void withoutItsPlatformObjectAFactIsEmpty()
    {
        FakeModem::setModems({{QString(), QString(), "490154203237518"_s}});
        FakeModem::setSims({{false, "244051234567890"_s, "244"_s, "05"_s}});
        DeviceInfoUtil device;
        delete device.findChild<QtMobility::QSystemDeviceInfo*>();
        QCOMPARE(device.deviceIMEI(), QString());
        QCOMPARE(device.deviceIMSI(), QString());
        QCOMPARE(device.deviceMSIN(), QString());
        QVERIFY(!device.simStatus());
        QCOMPARE(device.deviceMCC(), "244"_s);
        delete device.findChild<QtMobility::QSystemNetworkInfo*>();
        QCOMPARE(device.deviceMCC(), QString());
        QCOMPARE(device.deviceMNC(), QString());
        QCOMPARE(device.deviceCountry(), "FI"_s);
        delete device.findChild<QtMobility::QSystemInfo*>();
        QCOMPARE(device.deviceCountry(), QString());
    }

    void msinIsHashedWithSha1()
    {
        FakeModem::setSims({{false, "244051234567890"_s, "244"_s, "05"_s}});
        // printf 1234567890 | sha1sum
        QCOMPARE(DeviceInfoUtil().hashedMsin().toHex(),
                 "01b307acba4f54f55aafc33bb06bbbf6ca803e9a"_ba);
        FakeModem::reset();
        // printf '' | sha1sum
        QCOMPARE(DeviceInfoUtil().hashedMsin().toHex(),
                 "da39a3ee5e6b4b0d3255bfef95601890afd80709"_ba);
    }

    void aSimCountsWhetherUsableOrLocked_data()
    {
        const auto row = rows<QVector<bool>, bool>("locked", "available");
        row("none", QVector<bool>(), false);
        row("one", QVector<bool>{false}, true);
        row("one, locked", QVector<bool>{true}, true);
        row("two", QVector<bool>{false, false}, true);
    }
    void aSimCountsWhetherUsableOrLocked()
    {
        QFETCH(QVector<bool>, locked);
        QVector<QtMobility::SimCard> sims;
        for (const bool isLocked : qAsConst(locked))
            sims.append({isLocked, {}, {}, {}});
        FakeModem::setSims(sims);
        QTEST(DeviceInfoUtil().simStatus(), "available");
    }

    void theCountryIsTheLocales()
    {
        // Set for this program: a process keeps the locale that it has started with.
        QCOMPARE(qgetenv("LC_ALL"), "fi_FI"_ba);
        QCOMPARE(DeviceInfoUtil().deviceCountry(), "FI"_s);
    }
};

QTEST_GUILESS_MAIN(TestDeviceInfoUtil)
#include "tst_deviceinfoutil.moc"
