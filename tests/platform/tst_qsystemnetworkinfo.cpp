// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/fakemodem.h"
#include "platform/qsystemnetworkinfo.h"
#include "support/literals.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
using QtMobility::QSystemNetworkInfo;

class TestQSystemNetworkInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FakeModem::reset(); }

    void withoutASimThereIsNoHome()
    {
        QSystemNetworkInfo network;
        QCOMPARE(network.homeMobileCountryCode(), QString());
        QCOMPARE(network.homeMobileNetworkCode(), QString());
    }

    void homeIsThatOfTheFirstUsableSim()
    {
        QSystemNetworkInfo network;
        FakeModem::setSims({{true, {}, "244"_s, "05"_s}, {false, {}, "310"_s, "150"_s}});
        QCOMPARE(network.homeMobileCountryCode(), "310"_s);
        QCOMPARE(network.homeMobileNetworkCode(), "150"_s);
        FakeModem::setSims({{true, {}, "244"_s, "05"_s}});
        QCOMPARE(network.homeMobileCountryCode(), "244"_s);
        QCOMPARE(network.homeMobileNetworkCode(), "05"_s);
    }
};

QTEST_GUILESS_MAIN(TestQSystemNetworkInfo)
#include "tst_qsystemnetworkinfo.moc"
