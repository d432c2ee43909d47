// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <csignal>

using namespace KelTest;

namespace {

constexpr int noHangMs = 5000;

} // namespace

/// What comes after the end of the bus cannot have one again: a process keeps the connection that
/// it made first. So the order of these tests matters, and each of the two programs has one end.
class TestBusLoss : public SignOnFixture
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

    void everyRequestIsAnsweredWhenTheBusGoes()
    {
        const bool inTheWait = qEnvironmentVariableIsSet("KEL_BUS_ENDS_IN_THE_WAIT");
        mSandbox.script({{inTheWait ? "initialise"_s : "token"_s, PluginStep::Hang}});
        QElapsedTimer timer;
        if (inTheWait) {
            QTimer::singleShot(200, this, [&] {
                mInterface->token();
                mInterface->ensureToken();
                timer.start();
                QVERIFY(endBus());
            });
            QVERIFY(!open());
        } else {
            QVERIFY(open());
            mInterface->token();
            mInterface->ensureToken();
            QVERIFY(mSandbox.waitForRequests(2));
            timer.start();
            QVERIFY(endBus());
        }
        QVERIFY(waitForAnswers(2));
        QVERIFY(timer.elapsed() < noHangMs);
        letPass(300);
        QCOMPARE(mAnswers.size(), 2);
        QVERIFY(!mAnswers.contains("token 0"_s));
        QVERIFY(!mAnswers.contains("ensureToken 0"_s));
        QVERIFY(!mInterface->sessionExists(mCredentials));
    }

    void withoutABusNothingIsOpened()
    {
        const MessageLog log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!open());
        QVERIFY(timer.elapsed() < noHangMs);
        QVERIFY(log.hasCritical("There is no session bus to reach the sign-on daemon through"));
        mAnswers.clear();
        mInterface->signIn();
        QVERIFY(waitForAnswers(1));
        QCOMPARE(mAnswers, QStringList("signIn 704"_s));
    }

    void withoutABusNothingIsStored()
    {
        KelAccount::KelConfigure store;
        QSignalSpy stored(&store, &KelAccount::KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(store.storeUserCredentials("u"_s, "p"_s), -1);
        store.removeIdentity(mCredentials);
        letPass(100);
        QCOMPARE(stored.size(), 0);
    }

    void withoutABusTheAccountsAreStillRead()
    {
        QVERIFY(!KelAccount::KelConfigure().isKelAccountPresent());
        QCOMPARE(mInterface->retrieveActiveAccountCredId(), 0U);
    }

    void aNewInterfaceWithoutABusDoesNoHarm()
    {
        makeInterface();
        letPass(100);
        QVERIFY(!open());
        mInterface.reset();
    }

private:
    bool endBus()
    {
        const qint64 bus = mSandbox.session().busProcessId();
        return bus > 1 && ::kill(static_cast<pid_t>(bus), SIGKILL) == 0;
    }
};

KEL_TEST_IN_SESSION(TestBusLoss)
#include "tst_busloss.moc"
