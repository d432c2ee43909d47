// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/processfacts.h"
#include "support/rows.h"

#include <QDBusConnection>
#include <QDBusMessage>

using namespace KelTest;

#ifdef __SANITIZE_ADDRESS__
// The sanitizer would keep 256 MiB of freed memory, and no leak would be seen beside them.
extern "C" Q_DECL_EXPORT const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "quarantine_size_mb=4";
}
#endif

namespace {

constexpr int warmUpRounds = 50;

/// KiB that may come and go. A leak of one small object in each of 500 rounds is found by counting
/// objects and by the sanitizer, one of anything larger here.
#ifdef __SANITIZE_ADDRESS__
constexpr int ownAllowance = 16 * 1024;
#else
constexpr int ownAllowance = 1024;
#endif
constexpr int daemonAllowance = 4 * 1024;

/// Seconds after which the daemon forgets a session that nobody uses; the sign-on library has no
/// call that ends one earlier.
constexpr int sessionTimeout = 2;

/// The names of the daemon's objects on the bus that start like this; -1 when it does not say.
int daemonObjects(const QString& prefix)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        "com.google.code.AccountsSSO.SingleSignOn"_s, "/com/google/code/AccountsSSO/SingleSignOn"_s,
        "org.freedesktop.DBus.Introspectable"_s, "Introspect"_s);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, 10000);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return -1;
    return answer.arguments().value(0).toString().count("<node name=\"%1"_s.arg(prefix));
}

} // namespace

/// Nothing may grow with the number of sessions: not here, and not in the daemon.
class TestRounds : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void initTestCase()
    {
        mCredentials = storeCredentials();
        QVERIFY(mCredentials > 0);
        makeInterface();
    }

    void nothingGrowsWithTheSessions_data()
    {
        columns<int, bool, int>("action", "withRequest", "rounds");
        QTest::newRow("opened and closed") << int(PluginStep::Answer) << true << 500;
        QTest::newRow("failed to open") << int(PluginStep::Err) << false << 100;
    }
    void nothingGrowsWithTheSessions()
    {
        QFETCH(int, action);
        QFETCH(bool, withRequest);
        QFETCH(int, rounds);
        mSandbox.script({{"initialise"_s, action, {}, 605}});

        int failures = 0;
        const auto run = [&](int count) {
            for (int i = 0; i < count; ++i) {
                mAnswers.clear();
                const bool opened = open();
                failures += opened == withRequest ? 0 : 1;
                if (withRequest) {
                    mInterface->token();
                    mInterface->close();
                    failures += waitForAnswers(2) ? 0 : 1;
                }
                mInterface->destroyActiveAuthSession();
            }
        };

        run(warmUpRounds);
        QVERIFY(settle());
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        letPass(200);
        const QString ofTheDaemon = QString::number(daemon);
        const int ownDescriptors = openDescriptors();
        const qint64 ownMemory = memoryOfStatus("VmRSS");
        const int daemonDescriptors = openDescriptors(ofTheDaemon);
        const qint64 daemonMemory = memoryOfStatus("VmRSS", ofTheDaemon);
        const int identities = daemonObjects("Identity_"_s);
        const int objects = mInterface->findChildren<QObject*>().size();
        QVERIFY(ownDescriptors > 0 && daemonDescriptors > 0 && ownMemory > 0 && daemonMemory > 0);

        run(rounds);
        QVERIFY(settle());
        QCOMPARE(failures, 0);
        QCOMPARE(mSandbox.daemonProcessId(), daemon);
        // Connections of the test itself are closed a moment later, in the thread of the bus.
        QTRY_COMPARE(openDescriptors(), ownDescriptors);
        QTRY_COMPARE(openDescriptors(ofTheDaemon), daemonDescriptors);
        QCOMPARE(daemonObjects("Identity_"_s), identities);
        QCOMPARE(mInterface->findChildren<QObject*>().size(), objects);
        const qint64 ownGrowth = memoryOfStatus("VmRSS") - ownMemory;
        const qint64 daemonGrowth = memoryOfStatus("VmRSS", ofTheDaemon) - daemonMemory;
        qInfo("KiB in %d rounds: %lld here, %lld in the daemon", rounds, ownGrowth, daemonGrowth);
        QVERIFY(ownGrowth < ownAllowance);
        QVERIFY(daemonGrowth < daemonAllowance);
    }

private:
    /// Until the daemon has forgotten every session but one: it looks for unused ones when it makes
    /// a new one.
    bool settle()
    {
        letPass(1000 * sessionTimeout + 2000);
        open();
        mInterface->destroyActiveAuthSession();
        letPass(100);
        return daemonObjects("AuthSession_"_s) == 1;
    }
};

int main(int argc, char** argv)
{
    return runInSession<TestRounds>(argc, argv, [](KelEmulator::Sandbox& session) {
        session.setVariable("SSO_AUTHSESSION_TIMEOUT"_s, QString::number(sessionTimeout));
        // The daemon's objects are seen on the bus only when the library meets it there.
        session.setVariable("SSO_USE_PEER_BUS"_s, "0"_s);
    });
}

#include "tst_rounds.moc"
