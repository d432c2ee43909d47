// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
#include "support/literals.h"
#include "support/messagelog.h"
#include "support/sessionsandbox.h"

#include <QSignalSpy>
#include <QThread>

#include <csignal>
#include <memory>

using namespace KelTest;
using KelAccount::KelConfigure;

/// Credentials that nobody wants any more, as the daemon's database shows them.
class TestTakingBack : public QObject
{
    Q_OBJECT

public:
    explicit TestTakingBack(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init()
    {
        QVERIFY(mSandbox.startDaemon());
        mConfigure = std::make_unique<KelConfigure>();
        QVERIFY(store() > 0); // so that the database is there
    }

    void theIdentityIsGoneWhenItsCallerGoesOn()
    {
        const quint32 id = store();
        const int before = identities();
        int calls = 0;
        int left = -1;
        mConfigure->removeIdentity(id, [&] {
            ++calls;
            left = identities();
        });
        QCOMPARE(calls, 0);
        QVERIFY(waitUntil([&] { return calls > 0; }));
        QCOMPARE(left, before - 1);
        waitUntil([] { return false; }, 50);
        QCOMPARE(calls, 1);
    }

    void anUnknownIdentityKeepsNobodyWaiting()
    {
        int calls = 0;
        const MessageLog log;
        mConfigure->removeIdentity(4711, [&] { ++calls; });
        QVERIFY(waitUntil([&] { return calls == 1; }));
        QVERIFY(log.hasCritical("Failed to get identity object for the given identity id"));
    }

    void aDaemonThatCannotBeStartedKeepsNobodyWaiting()
    {
        const quint32 id = store();
        mSandbox.setDaemonInstalled(false);
        const bool killed = mSandbox.killDaemon();
        int calls = 0;
        mConfigure->removeIdentity(id, [&] { ++calls; });
        const bool wentOn = waitUntil([&] { return calls == 1; });
        mSandbox.setDaemonInstalled(true);
        QVERIFY(killed);
        QVERIFY(wentOn);
    }

    void aHangingDaemonDoesNotKeepItsCallerWaiting()
    {
        const quint32 id = store();
        const int before = identities();
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        mConfigure->setRemovalTimeout(100);
        const MessageLog log;
        int calls = 0;
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        mConfigure->removeIdentity(id, [&] { ++calls; });
        const bool wentOn = waitUntil([&] { return calls == 1; });
        const int meanwhile = identities();
        QCOMPARE(::kill(daemon, SIGCONT), 0);
        QVERIFY(wentOn);
        QCOMPARE(meanwhile, before);
        QVERIFY(log.hasWarning("The sign-on daemon has not removed the stored credentials yet"));
        // But they go.
        QVERIFY(identitiesBecome(before - 1));
        waitUntil([] { return false; }, 50);
        QCOMPARE(calls, 1);
    }

    void aDaemonThatEndsMeanwhileIsAskedAgain_data() { endings(); }
    void aDaemonThatEndsMeanwhileIsAskedAgain()
    {
        QFETCH(int, ending);
        const quint32 id = store();
        const int before = identities();
        int calls = 0;
        int left = -1;
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        QCOMPARE(::kill(daemon, SIGSTOP), 0);
        mConfigure->removeIdentity(id, [&] {
            ++calls;
            left = identities();
        });
        waitUntil([] { return false; }, 50); // until the daemon has been asked
        QVERIFY(endStopped(daemon, ending));
        // Before the patience is at its end.
        QVERIFY(waitUntil([&] { return calls > 0; }, 8000));
        QCOMPARE(left, before - 1);
        QCOMPARE(calls, 1);
    }

    void aStoreThatTheDaemonsEndCutsOffIsTakenBack_data() { endings(); }
    void aStoreThatTheDaemonsEndCutsOffIsTakenBack()
    {
        QFETCH(int, ending);
        const int before = identities();
        // The end comes at any moment of the storing.
        for (int turns = 0; turns < moments; ++turns) {
            QVERIFY(mSandbox.startDaemon());
            const pid_t daemon = mSandbox.daemonProcessId();
            QVERIFY(daemon > 1);
            QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
            QCOMPARE(mConfigure->storeUserCredentials("cut"_s, "p"_s), 0);
            letPass(turns, stored);
            QCOMPARE(::kill(daemon, SIGSTOP), 0);
            waitUntil([] { return false; }, 20);
            QVERIFY(endStopped(daemon, ending));
            // Before any guard has run out: the shortest is 10 s.
            QVERIFY(waitUntil([&] { return !stored.isEmpty(); }, 8000));
            QCOMPARE(stored.size(), 1);
            removeIfStored(stored);
            QVERIFY(identitiesBecome(before));
        }
    }

    void nobodyGoesOnAfterItsEnd()
    {
        const quint32 id = store();
        const int before = identities();
        int calls = 0;
        mConfigure->removeIdentity(id, [&] { ++calls; });
        mConfigure.reset();
        QVERIFY(identitiesBecome(before - 1));
        waitUntil([] { return false; }, 50);
        QCOMPARE(calls, 0);
    }

    void whatIsStoredTooLateIsRemoved()
    {
        const int before = identities();
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        mConfigure->setStoreTimeout(50);
        // The daemon stops at any moment of the storing.
        for (int turns = 0; turns < moments; ++turns) {
            QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
            QCOMPARE(mConfigure->storeUserCredentials("late"_s, "p"_s), 0);
            letPass(turns, stored);
            QCOMPARE(::kill(daemon, SIGSTOP), 0);
            const bool answered = waitUntil([&] { return !stored.isEmpty(); });
            QCOMPARE(::kill(daemon, SIGCONT), 0);
            QVERIFY(answered);
            removeIfStored(stored);
        }
        mConfigure->setStoreTimeout(10000);
        QVERIFY(store() > 0); // the daemon has done what came before
        QVERIFY(identitiesBecome(before + 1));
    }

    void whatIsStoredForNobodyIsRemoved()
    {
        const int before = identities();
        // The end comes at any moment of the storing.
        for (int turns = 0; turns < moments; ++turns) {
            QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
            QCOMPARE(mConfigure->storeUserCredentials("u"_s, "p"_s), 0);
            letPass(turns, stored);
            removeIfStored(stored);
            mConfigure = std::make_unique<KelConfigure>();
        }
        QVERIFY(store() > 0);
        QVERIFY(identitiesBecome(before + 1));
    }

private:
    quint32 store()
    {
        QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
        mConfigure->storeUserCredentials("user"_s, "password"_s);
        waitUntil([&] { return !stored.isEmpty(); });
        return stored.value(0).value(1).toUInt();
    }

    int identities() const
    {
        return mSandbox.credentials("select count(*) from credentials"_s).value(0).value(0).toInt();
    }

    bool identitiesBecome(int count) const
    {
        return waitUntil([&] { return identities() == count; });
    }

    static void letPass(int turns, const QSignalSpy& stored)
    {
        for (int i = 0; i < turns && stored.isEmpty(); ++i) {
            QCoreApplication::processEvents();
            QThread::msleep(3); // while the others work
        }
    }

    static void endings()
    {
        QTest::addColumn<int>("ending");
        QTest::newRow("killed") << SIGKILL;
        QTest::newRow("politely") << SIGTERM;
    }

    /// A daemon that has been stopped, so that what it was asked meanwhile is still before it.
    static bool endStopped(pid_t daemon, int ending)
    {
        return ::kill(daemon, ending) == 0 && ::kill(daemon, SIGCONT) == 0;
    }

    /// Storing was quicker than what was to disturb it.
    void removeIfStored(const QSignalSpy& stored)
    {
        if (stored.value(0).value(0).toBool())
            mConfigure->removeIdentity(stored.at(0).at(1).toUInt());
    }

    static constexpr int moments = 12; // more turns of the event loop than storing takes

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
};

int main(int argc, char** argv)
{
    return runInSession<TestTakingBack>(argc, argv);
}

#include "tst_takingback.moc"
