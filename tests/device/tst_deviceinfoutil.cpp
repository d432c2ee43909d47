// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/deviceinfoutil.h"
#include "platform/fakemodem.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsysteminfo.h"
#include "platform/qsystemnetworkinfo.h"

#include <QTest>

using KelRestHandler::DeviceInfoUtil;
using KelRestHandler::SimFacts;
namespace FakeModem = KelTest::FakeModem;

class TestDeviceInfoUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FakeModem::reset(); }

    void factsComeFromTheModem();
    void withoutAModemEverythingIsEmpty();
    void everyCallReadsAfresh();
    void msinIsTheImsiWithoutItsHome_data();
    void msinIsTheImsiWithoutItsHome();
    void aMissingImsiIsAskedForOnce();
    void simFactsTakeOneReading();
    void withoutItsPlatformObjectAFactIsEmpty();
    void msinIsHashedWithSha1();
    void aSimCountsWhetherUsableOrLocked_data();
    void aSimCountsWhetherUsableOrLocked();
    void theCountryIsTheLocales();
};

void TestDeviceInfoUtil::factsComeFromTheModem()
{
    FakeModem::setModems({{{}, {}, QStringLiteral("356938035643809")}});
    FakeModem::setSims(
        {{false, QStringLiteral("244051234567890"), QStringLiteral("244"), QStringLiteral("05")}});
    DeviceInfoUtil device;
    QCOMPARE(device.deviceIMEI(), QStringLiteral("356938035643809"));
    QCOMPARE(device.deviceIMSI(), QStringLiteral("244051234567890"));
    QCOMPARE(device.deviceMCC(), QStringLiteral("244"));
    QCOMPARE(device.deviceMNC(), QStringLiteral("05"));
    QCOMPARE(device.deviceMSIN(), QStringLiteral("1234567890"));
    QVERIFY(device.simStatus());
}

void TestDeviceInfoUtil::withoutAModemEverythingIsEmpty()
{
    DeviceInfoUtil device;
    QCOMPARE(device.deviceIMEI(), QString());
    QCOMPARE(device.deviceIMSI(), QString());
    QCOMPARE(device.deviceMCC(), QString());
    QCOMPARE(device.deviceMNC(), QString());
    QCOMPARE(device.deviceMSIN(), QString());
    QVERIFY(!device.simStatus());
}

void TestDeviceInfoUtil::everyCallReadsAfresh()
{
    DeviceInfoUtil device;
    QVERIFY(!device.simStatus());
    FakeModem::setSims({{false, {}, QStringLiteral("262"), {}}});
    QVERIFY(device.simStatus());
    QCOMPARE(device.deviceMCC(), QStringLiteral("262"));
    FakeModem::setSims({});
    QVERIFY(!device.simStatus());
    QCOMPARE(device.deviceMCC(), QString());
}

void TestDeviceInfoUtil::msinIsTheImsiWithoutItsHome_data()
{
    QTest::addColumn<QString>("imsi");
    QTest::addColumn<QString>("mcc");
    QTest::addColumn<QString>("mnc");
    QTest::addColumn<QString>("msin");
    const auto row = [](const char* name, const char* imsi, const char* mcc, const char* mnc,
                        const char* msin) {
        QTest::newRow(name) << QString::fromLatin1(imsi) << QString::fromLatin1(mcc)
                            << QString::fromLatin1(mnc) << QString::fromLatin1(msin);
    };
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

void TestDeviceInfoUtil::msinIsTheImsiWithoutItsHome()
{
    QFETCH(QString, imsi);
    QFETCH(QString, mcc);
    QFETCH(QString, mnc);
    FakeModem::setSims({{false, imsi, mcc, mnc}});
    DeviceInfoUtil device;
    QTEST(device.deviceMSIN(), "msin");
    const SimFacts facts = device.simFacts();
    QCOMPARE(facts.mcc, mcc);
    QCOMPARE(facts.mnc, mnc);
    QCOMPARE(facts.hashedMsin, device.hashedMsin());
}

void TestDeviceInfoUtil::simFactsTakeOneReading()
{
    QCOMPARE(DeviceInfoUtil().simFacts().mcc, QString());
    QCOMPARE(FakeModem::readings(), 1);
}

void TestDeviceInfoUtil::withoutItsPlatformObjectAFactIsEmpty()
{
    FakeModem::setModems({{QString(), QString(), QStringLiteral("490154203237518")}});
    FakeModem::setSims(
        {{false, QStringLiteral("244051234567890"), QStringLiteral("244"), QStringLiteral("05")}});
    DeviceInfoUtil device;
    delete device.findChild<QtMobility::QSystemDeviceInfo*>();
    QCOMPARE(device.deviceIMEI(), QString());
    QCOMPARE(device.deviceIMSI(), QString());
    QCOMPARE(device.deviceMSIN(), QString());
    QVERIFY(!device.simStatus());
    QCOMPARE(device.deviceMCC(), QStringLiteral("244"));
    delete device.findChild<QtMobility::QSystemNetworkInfo*>();
    QCOMPARE(device.deviceMCC(), QString());
    QCOMPARE(device.deviceMNC(), QString());
    QCOMPARE(device.deviceCountry(), QStringLiteral("FI"));
    delete device.findChild<QtMobility::QSystemInfo*>();
    QCOMPARE(device.deviceCountry(), QString());
}

void TestDeviceInfoUtil::aMissingImsiIsAskedForOnce()
{
    // Each reading of a service that hangs costs a second.
    QCOMPARE(DeviceInfoUtil().deviceMSIN(), QString());
    QCOMPARE(FakeModem::readings(), 1);
}

void TestDeviceInfoUtil::msinIsHashedWithSha1()
{
    FakeModem::setSims(
        {{false, QStringLiteral("244051234567890"), QStringLiteral("244"), QStringLiteral("05")}});
    // printf 1234567890 | sha1sum
    QCOMPARE(DeviceInfoUtil().hashedMsin().toHex(),
             QByteArray("01b307acba4f54f55aafc33bb06bbbf6ca803e9a"));
    FakeModem::reset();
    // printf '' | sha1sum
    QCOMPARE(DeviceInfoUtil().hashedMsin().toHex(),
             QByteArray("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
}

void TestDeviceInfoUtil::aSimCountsWhetherUsableOrLocked_data()
{
    QTest::addColumn<QVector<bool>>("locked");
    QTest::addColumn<bool>("available");
    QTest::newRow("none") << QVector<bool>() << false;
    QTest::newRow("one") << QVector<bool>{false} << true;
    QTest::newRow("one, locked") << QVector<bool>{true} << true;
    QTest::newRow("two") << QVector<bool>{false, false} << true;
}

void TestDeviceInfoUtil::aSimCountsWhetherUsableOrLocked()
{
    QFETCH(QVector<bool>, locked);
    QVector<QtMobility::SimCard> sims;
    for (const bool isLocked : qAsConst(locked))
        sims.append({isLocked, {}, {}, {}});
    FakeModem::setSims(sims);
    QTEST(DeviceInfoUtil().simStatus(), "available");
}

void TestDeviceInfoUtil::theCountryIsTheLocales()
{
    // Set for this program: a process keeps the locale that it has started with.
    QCOMPARE(qgetenv("LC_ALL"), QByteArray("fi_FI"));
    QCOMPARE(DeviceInfoUtil().deviceCountry(), QStringLiteral("FI"));
}

QTEST_GUILESS_MAIN(TestDeviceInfoUtil)
#include "tst_deviceinfoutil.moc"
