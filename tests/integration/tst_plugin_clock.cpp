// SPDX-License-Identifier: LGPL-2.1-or-later
// A device whose clock is wrong: the plugin's process learns the service's from its first reply.
#include "integration/pluginfixture.h"
#include "support/literals.h"

class TestPluginClock : public PluginFixture
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstRequestIsSentAgainWithTheServicesTime()
    {
        QVERIFY(openSession("alice"_s, "secret"_s));
        QCOMPARE(process("signIn").error, 0);
        // A request with a wrong time reaches no operation.
        QCOMPARE(operations(), (QList<int>{0, 1}));
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);
        QCOMPARE(told("token"), "0:"_s);

        const qint64 clock = process("serverUTCTime").data.value("ServerUTCTime"_s).toLongLong();
        const qint64 skew = qEnvironmentVariableIntValue("KELACCOUNT_TEST_SKEW");
        QVERIFY(skew != 0);
        QVERIFY(qAbs(clock - skew - QDateTime::currentSecsSinceEpoch()) < 10);

        QVERIFY(killPluginProcesses());
        QVERIFY(startPluginAgain());
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 0 22"_s);
    }

    void whenThatIsRefusedTooItIsTheAnswer()
    {
        // Another identity: its plugin process does not know the service's clock yet.
        QVERIFY(openSession("alice"_s, "secret"_s));
        QVERIFY(KelTest::EmulatedService::orderFaults("none\nstatus=401\n"));
        QCOMPARE(process("signIn").error, 504);
        QCOMPARE(KelTest::EmulatedService::faultsLeft(), QByteArray());
        QCOMPARE(operations().size(), 2);
        QCOMPARE(process("token").error, 604);
        // The clock is known by now.
        QCOMPARE(told("signIn"), "0: 1"_s);
    }
};

QTEST_GUILESS_MAIN(TestPluginClock)
#include "tst_plugin_clock.moc"
