// SPDX-License-Identifier: LGPL-2.1-or-later
// The service, the network, the plugin's process and the client's patience failing, each in turn.
#include "integration/pluginfixture.h"
#include "support/literals.h"
#include "support/rows.h"
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

    void init()
    {
        mUser = "user%1"_s.arg(++mCount);
        QVERIFY(!addAccount({{"userName"_s, mUser},
                             {"email"_s, "%1@example.org"_s.arg(mUser)},
                             {"password"_s, "password"_s}})
                     .isEmpty());
        QVERIFY(openSession(mUser, "password"_s));
    }

    void cleanup()
    {
        EmulatedService::ask("DELETE", "/faults");
        EmulatedService::ask("POST", "/accept");
    }

    void aServiceThatIsAwayIsReported()
    {
        QCOMPARE(process("signIn").error, 0);
        QCOMPARE(EmulatedService::ask("POST", "/refuse").status, 200);
        // What Qt makes of a proxy that refuses, for every connection under TLS.
        QCOMPARE(process("signIn").error, 420);
        QCOMPARE(process("privateMechanism_downloadProfile").error, 420);
        QCOMPARE(process("privateMechanism_changepassword",
                         {{"OldPassword"_s, "password"_s}, {"NewPassword"_s, "another"_s}})
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

    void aFailedRequestIsReportedAndTheNextOneServed_data()
    {
        columns<QByteArray, int>("fault", "status");
        QTest::newRow("closed") << "close-after-headers"_ba << 402;
        QTest::newRow("cut") << "cut-body"_ba << 402;
        QTest::newRow("other host") << "wrong-host"_ba << 406;
        QTest::newRow("not found") << "status=404"_ba << 415;
        QTest::newRow("forbidden") << "status=403"_ba << 413;
        QTest::newRow("unauthorised") << "status=401"_ba << 504;
        QTest::newRow("bad request") << "status=400"_ba << 419;
        QTest::newRow("failing") << "status=500"_ba << 1004;
        QTest::newRow("unavailable") << "status=503"_ba << 1004;
    }

    void aFailedRequestIsReportedAndTheNextOneServed()
    {
        const auto [fault, status] = fetch<QByteArray, int>("fault", "status");
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

    void aSuccessThatCannotBeReadIsNoSuccess_data()
    {
        rowsNamed("mechanism",
                  {"signIn", "privateMechanism_ensureToken", "privateMechanism_downloadProfile"});
    }

    void aSuccessThatCannotBeReadIsNoSuccess()
    {
        QFETCH(QByteArray, mechanism);
        if (mechanism == "privateMechanism_downloadProfile")
            QCOMPARE(process("signIn").error, 0);
        if (mechanism == "privateMechanism_ensureToken")
            QVERIFY(openSignedOut(mUser, "password"_s));
        QVERIFY(EmulatedService::orderFaults("not-xml"));
        QCOMPARE(process(mechanism.constData()).error, 423);
        QCOMPARE(process(mechanism.constData()).error, 0);
    }

    void aFailedRenewalKeepsWhatThereWas()
    {
        QCOMPARE(process("signIn").error, 0);
        QVERIFY(expire());
        const QVariantMap before = storedSession();
        QVERIFY(EmulatedService::orderFaults("cut-body"));
        QCOMPARE(process("privateMechanism_ensureToken").error, 402);
        QCOMPARE(storedSession(), before);
    }

    void aCancelledRequestEndsAtOnce()
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

    void anEndedPluginIsReported()
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

private:
    bool cancelOnceItHangs(const char* mechanism, const QVariantMap& data = {})
    {
        if (!EmulatedService::orderFaults("hang"))
            return false;
        send(mechanism, data);
        if (!waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); }))
            return false;
        session()->cancel();
        return true;
    }

    QString mUser;
    int mCount = 0;
};

QTEST_GUILESS_MAIN(TestPluginFailures)
#include "tst_plugin_failures.moc"
