// SPDX-License-Identifier: LGPL-2.1-or-later
// The service, the network, the plugin's process and the client's patience failing, and the account
// changing elsewhere, each in turn.
#include "integration/keptdata.h"
#include "integration/pluginfixture.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

using namespace KelTest;

namespace {

/// The same user elsewhere: an identity and a session of its own.
struct AnotherDevice : PluginFixture
{
    using PluginFixture::openSession;
    using PluginFixture::process;
};

const QString newPassword = "given elsewhere"_s;

} // namespace

class TestPluginFailures : public PluginUserFixture
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(openNewUser()); }

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
                         {{"OldPassword"_s, mPassword}, {"NewPassword"_s, "another"_s}})
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
        const auto row = rows<QByteArray, int>("fault", "status");
        row("closed", "close-after-headers", 402);
        row("cut", "cut-body", 402);
        row("other host", "wrong-host", 406);
        row("not found", "status=404", 415);
        row("forbidden", "status=403", 413);
        row("unauthorised", "status=401", 504);
        row("bad request", "status=400", 419);
        row("failing", "status=500", 1004);
        row("unavailable", "status=503", 1004);
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
            QVERIFY(openSignedOut(mUser, mPassword));
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

    // The account changes at the service while this device has its session.

    void aPasswordChangedElsewhereEndsWithTheSignInsRefusal()
    {
        signIn();
        QVERIFY(changePasswordElsewhere());
        // The token is good for as long as the service says.
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);

        QVERIFY(letTokensExpire());
        for (int attempt = 0; attempt < 2; ++attempt) {
            const Outcome outcome = process("privateMechanism_downloadProfile");
            QCOMPARE(outcome.error, 504);
            QCOMPARE(outcome.data, QVariantMap());
            QVERIFY(!outcome.message.contains(mUser) && !outcome.message.contains(mPassword));
            QCOMPARE(operations(), (QList<int>{22, 2, 1}));
            QCOMPARE(stored(), mBefore);
        }
        // What it knows it still tells, without asking.
        QCOMPARE(process("userId").data.value("UserId"_s).toString(), mUser);
        QCOMPARE(told("token"), "0:"_s);
        // To sign out needs no password.
        QCOMPARE(told("privateMechanism_signOut"), "0: 9"_s);
        QCOMPARE(told("privateMechanism_downloadProfile"), "504: 1"_s);
    }

    void anExpiredTokenEndsWithTheSignInsRefusalToo_data()
    {
        rowsNamed("mechanism",
                  {"token", "privateMechanism_ensureToken", "privateMechanism_downloadProfile",
                   "privateMechanism_updateDeviceInfo"});
    }
    void anExpiredTokenEndsWithTheSignInsRefusalToo()
    {
        QFETCH(QByteArray, mechanism);
        signIn();
        QVERIFY(changePasswordElsewhere());
        QVERIFY(letTokensExpire());
        QVERIFY(expire());
        const QVariantMap before = stored();
        QCOMPARE(told(mechanism.constData()), "504: 2 1"_s);
        QCOMPARE(stored(), before);
    }

    void aPasswordRecoveredElsewhereIsUsedOnceTheIdentityHasIt()
    {
        signIn();
        QVERIFY(changePasswordElsewhere());
        QVERIFY(letTokensExpire());
        QCOMPARE(told("privateMechanism_downloadProfile"), "504: 22 2 1"_s);
        QVERIFY(storeSecret(newPassword));
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22 2 1 22"_s);
        const QVariantMap session = storedSession();
        QVERIFY(session.value("Token"_s) != KeptData::sessionIn(mBefore).value("Token"_s));
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);
    }

    void anAccountLockedMeanwhileIsReported()
    {
        signIn();
        QVERIFY(lockElsewhere());
        // A lock keeps passwords out, not tokens.
        QCOMPARE(told("privateMechanism_downloadProfile"), "0: 22"_s);

        QVERIFY(letTokensExpire());
        QCOMPARE(told("privateMechanism_downloadProfile"), "510: 22 2 1"_s);
        QCOMPARE(stored(), mBefore);
        QVERIFY(expire());
        const QVariantMap before = stored();
        QCOMPARE(told("privateMechanism_ensureToken"), "510: 2 1"_s);
        QCOMPARE(told("signIn"), "510: 1"_s);
        QCOMPARE(stored(), before);
    }

private:
    void signIn()
    {
        QCOMPARE(process("signIn").error, 0);
        mBefore = stored();
        operations();
    }

    bool changePasswordElsewhere()
    {
        AnotherDevice other;
        const bool isChanged =
            other.openSession(mUser, mPassword) && other.process("signIn").error == 0 &&
            other.process("privateMechanism_changepassword",
                          {{"OldPassword"_s, mPassword}, {"NewPassword"_s, newPassword}})
                    .error == 0;
        operations();
        return isChanged;
    }

    bool lockElsewhere()
    {
        constexpr int failuresToLock = 10;
        AnotherDevice other;
        if (!other.openSession(mUser, "a guess"_s))
            return false;
        for (int i = 0; i < failuresToLock; ++i) {
            if (other.process("signIn").error != 504)
                return false;
        }
        operations();
        return true;
    }
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

    QVariantMap mBefore; // what the daemon keeps after signing in
};

QTEST_GUILESS_MAIN(TestPluginFailures)
#include "tst_plugin_failures.moc"
