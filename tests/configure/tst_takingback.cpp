// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"
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
    void init();
    void theIdentityIsGoneWhenItsCallerGoesOn();
    void anUnknownIdentityKeepsNobodyWaiting();
    void aDaemonThatCannotBeStartedKeepsNobodyWaiting();
    void aHangingDaemonDoesNotKeepItsCallerWaiting();
    void aDaemonThatEndsMeanwhileIsAskedAgain_data();
    void aDaemonThatEndsMeanwhileIsAskedAgain();
    void aStoreThatTheDaemonsEndCutsOffIsTakenBack_data();
    void aStoreThatTheDaemonsEndCutsOffIsTakenBack();
    void nobodyGoesOnAfterItsEnd();
    void whatIsStoredTooLateIsRemoved();
    void whatIsStoredForNobodyIsRemoved();

private:
    quint32 store();
    int identities() const;
    bool identitiesBecome(int count) const;
    static void letPass(int turns, const QSignalSpy& stored);
    static void endings();
    static bool endStopped(pid_t daemon, int ending);
    void removeIfStored(const QSignalSpy& stored);

    static constexpr int moments = 12; // more turns of the event loop than storing takes

    SessionSandbox& mSandbox;
    std::unique_ptr<KelConfigure> mConfigure;
};

void TestTakingBack::init()
{
    QVERIFY(mSandbox.startDaemon());
    mConfigure = std::make_unique<KelConfigure>();
    QVERIFY(store() > 0); // so that the database is there
}

quint32 TestTakingBack::store()
{
    QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
    mConfigure->storeUserCredentials(QStringLiteral("user"), QStringLiteral("password"));
    waitUntil([&] { return !stored.isEmpty(); });
    return stored.value(0).value(1).toUInt();
}

int TestTakingBack::identities() const
{
    return mSandbox.credentials(QStringLiteral("select count(*) from credentials"))
        .value(0)
        .value(0)
        .toInt();
}

bool TestTakingBack::identitiesBecome(int count) const
{
    return waitUntil([&] { return identities() == count; });
}

void TestTakingBack::letPass(int turns, const QSignalSpy& stored)
{
    for (int i = 0; i < turns && stored.isEmpty(); ++i) {
        QCoreApplication::processEvents();
        QThread::msleep(3); // while the others work
    }
}

/// Storing was quicker than what was to disturb it.
void TestTakingBack::removeIfStored(const QSignalSpy& stored)
{
    if (stored.value(0).value(0).toBool())
        mConfigure->removeIdentity(stored.at(0).at(1).toUInt());
}

void TestTakingBack::theIdentityIsGoneWhenItsCallerGoesOn()
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

void TestTakingBack::anUnknownIdentityKeepsNobodyWaiting()
{
    int calls = 0;
    const MessageLog log;
    mConfigure->removeIdentity(4711, [&] { ++calls; });
    QVERIFY(waitUntil([&] { return calls == 1; }));
    QVERIFY(log.hasCritical("Failed to get identity object for the given identity id"));
}

void TestTakingBack::aDaemonThatCannotBeStartedKeepsNobodyWaiting()
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

void TestTakingBack::aHangingDaemonDoesNotKeepItsCallerWaiting()
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

void TestTakingBack::endings()
{
    QTest::addColumn<int>("ending");
    QTest::newRow("killed") << SIGKILL;
    QTest::newRow("politely") << SIGTERM;
}

/// A daemon that has been stopped, so that what it was asked meanwhile is still before it.
bool TestTakingBack::endStopped(pid_t daemon, int ending)
{
    return ::kill(daemon, ending) == 0 && ::kill(daemon, SIGCONT) == 0;
}

void TestTakingBack::aDaemonThatEndsMeanwhileIsAskedAgain_data()
{
    endings();
}

void TestTakingBack::aDaemonThatEndsMeanwhileIsAskedAgain()
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

void TestTakingBack::aStoreThatTheDaemonsEndCutsOffIsTakenBack_data()
{
    endings();
}

void TestTakingBack::aStoreThatTheDaemonsEndCutsOffIsTakenBack()
{
    QFETCH(int, ending);
    const int before = identities();
    // The end comes at any moment of the storing.
    for (int turns = 0; turns < moments; ++turns) {
        QVERIFY(mSandbox.startDaemon());
        const pid_t daemon = mSandbox.daemonProcessId();
        QVERIFY(daemon > 1);
        QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("cut"), QStringLiteral("p")), 0);
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

void TestTakingBack::nobodyGoesOnAfterItsEnd()
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

void TestTakingBack::whatIsStoredTooLateIsRemoved()
{
    const int before = identities();
    const pid_t daemon = mSandbox.daemonProcessId();
    QVERIFY(daemon > 1);
    mConfigure->setStoreTimeout(50);
    // The daemon stops at any moment of the storing.
    for (int turns = 0; turns < moments; ++turns) {
        QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("late"), QStringLiteral("p")), 0);
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

void TestTakingBack::whatIsStoredForNobodyIsRemoved()
{
    const int before = identities();
    // The end comes at any moment of the storing.
    for (int turns = 0; turns < moments; ++turns) {
        QSignalSpy stored(mConfigure.get(), &KelConfigure::storeUserCredentialsStatus);
        QCOMPARE(mConfigure->storeUserCredentials(QStringLiteral("u"), QStringLiteral("p")), 0);
        letPass(turns, stored);
        removeIfStored(stored);
        mConfigure = std::make_unique<KelConfigure>();
    }
    QVERIFY(store() > 0);
    QVERIFY(identitiesBecome(before + 1));
}

int main(int argc, char** argv)
{
    return runInSession<TestTakingBack>(argc, argv);
}

#include "tst_takingback.moc"
