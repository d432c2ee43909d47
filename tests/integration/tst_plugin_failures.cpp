// SPDX-License-Identifier: LGPL-2.1-or-later
// The service, the network, the plugin's process and the client's patience failing, each in turn.
#include "integration/pluginfixture.h"
#include "support/sessionsandbox.h"

using namespace KelTest;

class TestPluginFailures : public PluginFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(isInside(), "run this with kelaccount-emulator run -- PROGRAM");
    }
    void init();
    void cleanup();
    void aServiceThatIsAwayIsReported();
    void aFailedRequestIsReportedAndTheNextOneServed_data();
    void aFailedRequestIsReportedAndTheNextOneServed();
    void aSuccessThatCannotBeReadIsNoSuccess_data();
    void aSuccessThatCannotBeReadIsNoSuccess();
    void aFailedRenewalKeepsWhatThereWas();
    void aCancelledRequestEndsAtOnce();
    void anEndedPluginIsReported();

private:
    bool cancelOnceItHangs(const char* mechanism, const QVariantMap& data = {});

    QString mUser;
    int mCount = 0;
};

void TestPluginFailures::init()
{
    mUser = QStringLiteral("user%1").arg(++mCount);
    QVERIFY(!addAccount({{QStringLiteral("userName"), mUser},
                         {QStringLiteral("email"), QStringLiteral("%1@example.org").arg(mUser)},
                         {QStringLiteral("password"), QStringLiteral("password")}})
                 .isEmpty());
    QVERIFY(openSession(mUser, QStringLiteral("password")));
}

void TestPluginFailures::cleanup()
{
    EmulatedService::ask("DELETE", "/faults");
    EmulatedService::ask("POST", "/accept");
}

void TestPluginFailures::aServiceThatIsAwayIsReported()
{
    QCOMPARE(process("signIn").error, 0);
    QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
    // What Qt makes of a proxy that refuses, for every connection under TLS.
    QCOMPARE(process("signIn").error, 420);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 420);
    QCOMPARE(process("privateMechanism_changepassword",
                     {{QStringLiteral("OldPassword"), QStringLiteral("password")},
                      {QStringLiteral("NewPassword"), QStringLiteral("another")}})
                 .error,
             420);
    const QVariant good = storedSession();
    QVERIFY(expire());
    QCOMPARE(process("token").error, 420);
    QVERIFY(changeStoredSession(good));
    // What needs no network still works, and the token is not lost.
    QCOMPARE(process("token").error, 0);
    QCOMPARE(EmulatedService::ask("POST", "/accept").status, 200);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
    QCOMPARE(process("signIn").error, 0);
}

void TestPluginFailures::aFailedRequestIsReportedAndTheNextOneServed_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<int>("status");
    QTest::newRow("closed") << QByteArray("close-after-headers") << 402;
    QTest::newRow("cut") << QByteArray("cut-body") << 402;
    QTest::newRow("other host") << QByteArray("wrong-host") << 406;
    QTest::newRow("not found") << QByteArray("status=404") << 415;
    QTest::newRow("forbidden") << QByteArray("status=403") << 413;
    QTest::newRow("unauthorised") << QByteArray("status=401") << 504;
    QTest::newRow("bad request") << QByteArray("status=400") << 419;
    QTest::newRow("failing") << QByteArray("status=500") << 1004;
    QTest::newRow("unavailable") << QByteArray("status=503") << 1004;
}

void TestPluginFailures::aFailedRequestIsReportedAndTheNextOneServed()
{
    QFETCH(QByteArray, fault);
    QFETCH(int, status);
    QVERIFY(EmulatedService::orderFaults(fault));
    const Outcome failed = process("signIn");
    QCOMPARE(failed.error, status);
    QVERIFY(failed.message.size() < 100);
    QVERIFY(!failed.message.contains(mUser));
    QCOMPARE(EmulatedService::faultsLeft(), QByteArray());
    QCOMPARE(process("token").error, 604);
    QCOMPARE(process("signIn").error, 0);

    QVERIFY(EmulatedService::orderFaults(fault));
    QCOMPARE(process("privateMechanism_downloadProfile").error, status);
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);
}

void TestPluginFailures::aSuccessThatCannotBeReadIsNoSuccess_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    for (const char* mechanism :
         {"signIn", "privateMechanism_ensureToken", "privateMechanism_downloadProfile"})
        QTest::newRow(mechanism) << QByteArray(mechanism);
}

void TestPluginFailures::aSuccessThatCannotBeReadIsNoSuccess()
{
    QFETCH(QByteArray, mechanism);
    if (mechanism == "privateMechanism_downloadProfile")
        QCOMPARE(process("signIn").error, 0);
    if (mechanism == "privateMechanism_ensureToken")
        QVERIFY(openSignedOut(mUser, QStringLiteral("password")));
    QVERIFY(EmulatedService::orderFaults("not-xml"));
    QCOMPARE(process(mechanism.constData()).error, 423);
    QCOMPARE(process(mechanism.constData()).error, 0);
}

void TestPluginFailures::aFailedRenewalKeepsWhatThereWas()
{
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(expire());
    const QVariantMap before = storedSession();
    QVERIFY(EmulatedService::orderFaults("cut-body"));
    QCOMPARE(process("privateMechanism_ensureToken").error, 402);
    QCOMPARE(storedSession(), before);
}

bool TestPluginFailures::cancelOnceItHangs(const char* mechanism, const QVariantMap& data)
{
    if (!EmulatedService::orderFaults("hang"))
        return false;
    send(mechanism, data);
    if (!waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }))
        return false;
    session()->cancel();
    return true;
}

void TestPluginFailures::aCancelledRequestEndsAtOnce()
{
    QCOMPARE(process("signIn").error, 0);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(cancelOnceItHangs("signIn"));
    QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
    // The next one is served at once: the plugin does not wait for the service any more.
    QCOMPARE(process("privateMechanism_downloadProfile").error, 0);

    QVERIFY(cancelOnceItHangs("privateMechanism_downloadProfile"));
    QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
    const QVariant good = storedSession();
    QVERIFY(expire() && cancelOnceItHangs("privateMechanism_ensureToken"));
    QCOMPARE(wait().error, int(SignOn::Error::SessionCanceled));
    QVERIFY(changeStoredSession(good));
    QCOMPARE(process("token").error, 0);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));
}

void TestPluginFailures::anEndedPluginIsReported()
{
    QCOMPARE(process("signIn").error, 0);
    QVERIFY(EmulatedService::orderFaults("hang"));
    send("signIn");
    QVERIFY(waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }));
    QVERIFY(killPluginProcesses());
    QVERIFY(wait().error > 0);
    QVERIFY(startPluginAgain());
    QCOMPARE(process("token").error, 0);
    QCOMPARE(process("signIn").error, 0);
}

QTEST_GUILESS_MAIN(TestPluginFailures)
#include "tst_plugin_failures.moc"
