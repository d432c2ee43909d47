// SPDX-License-Identifier: LGPL-2.1-or-later
// A device whose clock is wrong: the plugin's process learns the service's from its first reply.
#include "integration/pluginfixture.h"
#include "support/literals.h"

class TestPluginClock : public PluginFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }

    void theFirstRequestIsSentAgainWithTheServicesTime()
    {
        QVERIFY(openSession("alice"_s, "secret"_s));
        QCOMPARE(process("signIn").error, 0);
        // A request with a wrong time reaches no operation.
        QCOMPARE(operations(), (QList<int>{0, 1}));
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), QList<int>{22});
        QCOMPARE(process("token").error, 0);
        QCOMPARE(operations(), QList<int>());

        const qint64 told = process("serverUTCTime").data.value("ServerUTCTime"_s).toLongLong();
        const qint64 skew = qEnvironmentVariableIntValue("KELACCOUNT_TEST_SKEW");
        QVERIFY(skew != 0);
        QVERIFY(qAbs(told - skew - QDateTime::currentSecsSinceEpoch()) < 10);

        QVERIFY(killPluginProcesses());
        QVERIFY(startPluginAgain());
        QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
        QCOMPARE(operations(), (QList<int>{0, 22}));
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
        QCOMPARE(process("signIn").error, 0);
        QCOMPARE(operations(), QList<int>{1});
    }
};

QTEST_GUILESS_MAIN(TestPluginClock)
#include "tst_plugin_clock.moc"
