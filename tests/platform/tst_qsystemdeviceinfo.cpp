// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/fakemodem.h"
#include "platform/qsystemdeviceinfo.h"
#include "platform/qsystemnetworkinfo.h"
#include "platform/testroot.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
namespace TestRoot = KelTest::TestRoot;
using QtMobility::QSystemDeviceInfo;
using QtMobility::QSystemNetworkInfo;
using QtMobility::SimCard;

Q_DECLARE_METATYPE(QVector<SimCard>)

class TestQSystemDeviceInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestRoot::clear();
        FakeModem::reset();
    }

    void simStatusHasItsNumbers()
    {
        QCOMPARE(int(QSystemDeviceInfo::SimNotAvailable), 0);
        QCOMPARE(int(QSystemDeviceInfo::SingleSimAvailable), 1);
        QCOMPARE(int(QSystemDeviceInfo::DualSimAvailable), 2);
        QCOMPARE(int(QSystemDeviceInfo::SimLocked), 3);
    }

    void simStatusCountsSims_data()
    {
        const auto row = rows<QVector<SimCard>, int>("sims", "status");
        const SimCard usable = {false, {}, {}, {}};
        const SimCard locked = {true, {}, {}, {}};
        row("none", QVector<SimCard>{}, 0);
        row("usable", QVector<SimCard>{usable}, 1);
        row("locked", QVector<SimCard>{locked}, 3);
        row("two", QVector<SimCard>{usable, usable}, 2);
        row("three", QVector<SimCard>{usable, usable, usable}, 2);
        row("one of two locked", QVector<SimCard>{locked, usable}, 2);
        row("two locked", QVector<SimCard>{locked, locked}, 3);
    }
    void simStatusCountsSims()
    {
        QFETCH(QVector<SimCard>, sims);
        FakeModem::setSims(sims);
        QTEST(int(QSystemDeviceInfo().simStatus()), "status");
    }

    void imeiIsTheFirstThatAModemTells()
    {
        QCOMPARE(QSystemDeviceInfo().imei(), QString());
        FakeModem::setModems(
            {{{}, {}, {}}, {{}, {}, "356938035643809"_s}, {{}, {}, "490154203237518"_s}});
        QCOMPARE(QSystemDeviceInfo().imei(), "356938035643809"_s);
    }

    void imsiIsThatOfTheHomeSim()
    {
        QCOMPARE(QSystemDeviceInfo().imsi(), QString());
        FakeModem::setSims({{true, "1"_s, {}, {}}, {false, "2"_s, {}, {}}, {false, "3"_s, {}, {}}});
        QCOMPARE(QSystemDeviceInfo().imsi(), "2"_s);
        FakeModem::setSims({{true, "1"_s, {}, {}}, {true, "2"_s, {}, {}}});
        QCOMPARE(QSystemDeviceInfo().imsi(), "1"_s);
    }

    void homeIsThatOfTheFirstUsableSim()
    {
        QSystemNetworkInfo network;
        const auto home = [&network] {
            return network.homeMobileCountryCode() + "-"_s + network.homeMobileNetworkCode();
        };
        QCOMPARE(home(), "-"_s);
        FakeModem::setSims({{true, {}, "244"_s, "05"_s}, {false, {}, "310"_s, "150"_s}});
        QCOMPARE(home(), "310-150"_s);
        FakeModem::setSims({{true, {}, "244"_s, "05"_s}});
        QCOMPARE(home(), "244-05"_s);
    }

    void namesComeFromTheHardware()
    {
        TestRoot::write("sys/class/dmi/id/product_name", "Tablet");
        FakeModem::setModems({{"Modem maker"_s, "Modem"_s, {}}});
        QSystemDeviceInfo device;
        QCOMPARE(device.manufacturer(), QString());
        QCOMPARE(device.model(), "Tablet"_s);
        QCOMPARE(FakeModem::readings(), 0);
    }

    void namesComeFromTheModemOfUnknownHardware()
    {
        QSystemDeviceInfo device;
        QCOMPARE(device.manufacturer(), QString());
        FakeModem::setModems({{"Modem maker"_s, "Modem"_s, {}}});
        QCOMPARE(device.manufacturer(), "Modem maker"_s);
        QCOMPARE(device.model(), "Modem"_s);
    }
};

QTEST_GUILESS_MAIN(TestQSystemDeviceInfo)
#include "tst_qsystemdeviceinfo.moc"
