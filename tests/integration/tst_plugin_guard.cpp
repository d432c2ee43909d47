// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin with a service that hangs, over TLS, and a guard that is shorter than a device's.
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/sessionsandbox.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace KelTest;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr int onDevices = 60000;
constexpr int shortGuard = 300;

QStringList cancelled()
{
    return {QString::number(SignOn::Error::SessionCanceled)};
}

const QStringList timedOut{QStringLiteral("404")};
const QStringList served{QStringLiteral("store"), QStringLiteral("result")};

} // namespace

class TestPluginGuard : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { makePlugin(); }
    void cleanup();
    void aServiceThatHangsIsGivenUp_data();
    void aServiceThatHangsIsGivenUp();
    void cancellingShortlyBeforeTheGuardAnswersOnce();
    void cancellingShortlyAfterTheGuardSaysNothingMore();
    void theNextRequestMayComeWithTheAnswer();

private:
    bool signIn();
    bool saysNothingMore();
    /// The service answers again. What hung may have been given up before it got there.
    static void recover();
};

void TestPluginGuard::initTestCase()
{
    QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
    QCOMPARE(NetworkReplyContainer::guardMilliseconds(), onDevices);
}

void TestPluginGuard::cleanup()
{
    mPlugin.reset();
    recover();
}

void TestPluginGuard::recover()
{
    NetworkReplyContainer::setGuardMilliseconds(onDevices);
    EmulatedService::ask("DELETE", "/faults");
}

bool TestPluginGuard::signIn()
{
    mEvents.clear();
    process("signIn", request());
    return waitForEnd() && mEvents == served;
}

bool TestPluginGuard::saysNothingMore()
{
    const int said = mEvents.size();
    return !waitUntil([&] { return mEvents.size() > said; }, shortGuard * 3 / 2);
}

void TestPluginGuard::aServiceThatHangsIsGivenUp_data()
{
    QTest::addColumn<QByteArray>("mechanism");
    QTest::addColumn<bool>("isExpired");
    QTest::newRow("signing in") << QByteArray("signIn") << false;
    QTest::newRow("renewing") << QByteArray("privateMechanism_ensureToken") << true;
    QTest::newRow("an operation") << QByteArray("privateMechanism_downloadProfile") << false;
}

void TestPluginGuard::aServiceThatHangsIsGivenUp()
{
    QFETCH(QByteArray, mechanism);
    QFETCH(bool, isExpired);
    QVERIFY(signIn());
    const QVariantMap stored = mStored;
    QVariantMap session = KeptData::sessionIn(stored);
    if (isExpired)
        session.insert(QStringLiteral("ValidUntil"), qint64{1});
    const QVariantMap data = request(KeptData::withSession(stored, session));

    QVERIFY(EmulatedService::orderFaults("hang"));
    NetworkReplyContainer::setGuardMilliseconds(shortGuard);
    mEvents.clear();
    QElapsedTimer timer;
    timer.start();
    process(mechanism.constData(), data);
    QVERIFY(waitForEnd());
    // Qt's timers are a twentieth early at most.
    QVERIFY2(timer.elapsed() >= shortGuard * 19 / 20, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(saysNothingMore());
    QCOMPARE(mEvents, timedOut); // and nothing is stored
    QCOMPARE(mStored, stored);

    recover();
    mEvents.clear();
    process(mechanism.constData(), data);
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents.last(), QStringLiteral("result"));
}

void TestPluginGuard::cancellingShortlyBeforeTheGuardAnswersOnce()
{
    QVERIFY(EmulatedService::orderFaults("hang"));
    NetworkReplyContainer::setGuardMilliseconds(shortGuard);
    // Started first, so it is due first on a machine that is late with both.
    constexpr int shortlyBefore = shortGuard * 9 / 10;
    QTimer::singleShot(shortlyBefore, Qt::PreciseTimer, this, [this] { mPlugin->cancel(); });
    process("signIn", request());
    QVERIFY(waitForEnd());
    QVERIFY(saysNothingMore());
    QCOMPARE(mEvents, cancelled());
    recover();
    QVERIFY(signIn());
}

void TestPluginGuard::cancellingShortlyAfterTheGuardSaysNothingMore()
{
    QVERIFY(EmulatedService::orderFaults("hang"));
    NetworkReplyContainer::setGuardMilliseconds(shortGuard);
    connect(mPlugin.get(), &AuthPluginInterface::error, mPlugin.get(),
            [this] { mPlugin->cancel(); });
    process("signIn", request());
    QVERIFY(waitForEnd());
    mPlugin->cancel();
    QVERIFY(saysNothingMore());
    QCOMPARE(mEvents, timedOut);
    recover();
    QVERIFY(signIn());
}

void TestPluginGuard::theNextRequestMayComeWithTheAnswer()
{
    QVERIFY(EmulatedService::orderFaults("hang"));
    NetworkReplyContainer::setGuardMilliseconds(shortGuard);
    connect(mPlugin.get(), &AuthPluginInterface::error, mPlugin.get(), [this] {
        recover();
        // As the daemon does it on its way down; here it goes on.
        mPlugin->abort();
        process("signIn", request());
    });
    process("signIn", request());
    QVERIFY(waitUntil([this] { return mEvents.contains(QStringLiteral("result")); }));
    QCOMPARE(mEvents, timedOut + served);
}

QTEST_GUILESS_MAIN(TestPluginGuard)
#include "tst_plugin_guard.moc"
