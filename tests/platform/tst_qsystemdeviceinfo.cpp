// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/fakemodem.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/testroot.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
namespace TestRoot = KelTest::TestRoot;
using QtMobility::QSystemDeviceInfo;
using QtMobility::SimCard;

Q_DECLARE_METATYPE(QVector<SimCard>)

class TestQSystemDeviceInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void simStatusHasItsNumbers();
    void simStatusCountsSims_data();
    void simStatusCountsSims();
    void imeiIsTheFirstThatAModemTells();
    void imsiIsThatOfTheHomeSim();
    void namesComeFromTheHardware();
    void namesComeFromTheModemOfUnknownHardware();
};

void TestQSystemDeviceInfo::init()
{
    TestRoot::clear();
    FakeModem::reset();
}

void TestQSystemDeviceInfo::simStatusHasItsNumbers()
{
    QCOMPARE(int(QSystemDeviceInfo::SimNotAvailable), 0);
    QCOMPARE(int(QSystemDeviceInfo::SingleSimAvailable), 1);
    QCOMPARE(int(QSystemDeviceInfo::DualSimAvailable), 2);
    QCOMPARE(int(QSystemDeviceInfo::SimLocked), 3);
}

void TestQSystemDeviceInfo::simStatusCountsSims_data()
{
    QTest::addColumn<QVector<SimCard>>("sims");
    QTest::addColumn<int>("status");
    const SimCard usable = {false, {}, {}, {}};
    const SimCard locked = {true, {}, {}, {}};
    QTest::newRow("none") << QVector<SimCard>{} << 0;
    QTest::newRow("usable") << QVector<SimCard>{usable} << 1;
    QTest::newRow("locked") << QVector<SimCard>{locked} << 3;
    QTest::newRow("two") << QVector<SimCard>{usable, usable} << 2;
    QTest::newRow("three") << QVector<SimCard>{usable, usable, usable} << 2;
    QTest::newRow("one of two locked") << QVector<SimCard>{locked, usable} << 2;
    QTest::newRow("two locked") << QVector<SimCard>{locked, locked} << 3;
}

void TestQSystemDeviceInfo::simStatusCountsSims()
{
    QFETCH(QVector<SimCard>, sims);
    FakeModem::setSims(sims);
    QTEST(int(QSystemDeviceInfo().simStatus()), "status");
}

void TestQSystemDeviceInfo::imeiIsTheFirstThatAModemTells()
{
    QCOMPARE(QSystemDeviceInfo().imei(), QString());
    FakeModem::setModems({{{}, {}, {}},
                          {{}, {}, QStringLiteral("356938035643809")},
                          {{}, {}, QStringLiteral("490154203237518")}});
    QCOMPARE(QSystemDeviceInfo().imei(), QStringLiteral("356938035643809"));
}

void TestQSystemDeviceInfo::imsiIsThatOfTheHomeSim()
{
    QCOMPARE(QSystemDeviceInfo().imsi(), QString());
    FakeModem::setSims({{true, QStringLiteral("1"), {}, {}},
                        {false, QStringLiteral("2"), {}, {}},
                        {false, QStringLiteral("3"), {}, {}}});
    QCOMPARE(QSystemDeviceInfo().imsi(), QStringLiteral("2"));
    FakeModem::setSims({{true, QStringLiteral("1"), {}, {}}, {true, QStringLiteral("2"), {}, {}}});
    QCOMPARE(QSystemDeviceInfo().imsi(), QStringLiteral("1"));
}

void TestQSystemDeviceInfo::namesComeFromTheHardware()
{
    TestRoot::write("sys/class/dmi/id/product_name", "Tablet");
    FakeModem::setModems({{QStringLiteral("Modem maker"), QStringLiteral("Modem"), {}}});
    QSystemDeviceInfo device;
    QCOMPARE(device.manufacturer(), QString());
    QCOMPARE(device.model(), QStringLiteral("Tablet"));
    QCOMPARE(FakeModem::readings(), 0);
}

void TestQSystemDeviceInfo::namesComeFromTheModemOfUnknownHardware()
{
    QSystemDeviceInfo device;
    QCOMPARE(device.manufacturer(), QString());
    FakeModem::setModems({{QStringLiteral("Modem maker"), QStringLiteral("Modem"), {}}});
    QCOMPARE(device.manufacturer(), QStringLiteral("Modem maker"));
    QCOMPARE(device.model(), QStringLiteral("Modem"));
}

QTEST_GUILESS_MAIN(TestQSystemDeviceInfo)
#include "tst_qsystemdeviceinfo.moc"
