// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/fakemodem.h"
#include "platform/qsystemnetworkinfo.h"

#include <QTest>

namespace FakeModem = KelTest::FakeModem;
using QtMobility::QSystemNetworkInfo;

class TestQSystemNetworkInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { FakeModem::reset(); }

    void withoutASimThereIsNoHome();
    void homeIsThatOfTheFirstUsableSim();
};

void TestQSystemNetworkInfo::withoutASimThereIsNoHome()
{
    QSystemNetworkInfo network;
    QCOMPARE(network.homeMobileCountryCode(), QString());
    QCOMPARE(network.homeMobileNetworkCode(), QString());
}

void TestQSystemNetworkInfo::homeIsThatOfTheFirstUsableSim()
{
    QSystemNetworkInfo network;
    FakeModem::setSims({{true, {}, QStringLiteral("244"), QStringLiteral("05")},
                        {false, {}, QStringLiteral("310"), QStringLiteral("150")}});
    QCOMPARE(network.homeMobileCountryCode(), QStringLiteral("310"));
    QCOMPARE(network.homeMobileNetworkCode(), QStringLiteral("150"));
    FakeModem::setSims({{true, {}, QStringLiteral("244"), QStringLiteral("05")}});
    QCOMPARE(network.homeMobileCountryCode(), QStringLiteral("244"));
    QCOMPARE(network.homeMobileNetworkCode(), QStringLiteral("05"));
}

QTEST_GUILESS_MAIN(TestQSystemNetworkInfo)
#include "tst_qsystemnetworkinfo.moc"
