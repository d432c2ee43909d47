// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin with a service that hangs, over TLS, and a guard that is shorter than a device's.
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/rows.h"
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

const QStringList timedOut{"404"_s};
const QStringList served{"store"_s, "result"_s};

} // namespace

class TestPluginGuard : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
        QCOMPARE(NetworkReplyContainer::guardMilliseconds(), onDevices);
    }

    void init() { makePlugin(); }

    void cleanup()
    {
        mPlugin.reset();
        recover();
    }

    void aServiceThatHangsIsGivenUp_data()
    {
        columns<QByteArray, bool>("mechanism", "isExpired");
        QTest::newRow("signing in") << "signIn"_ba << false;
        QTest::newRow("renewing") << "privateMechanism_ensureToken"_ba << true;
        QTest::newRow("an operation") << "privateMechanism_downloadProfile"_ba << false;
    }

    void aServiceThatHangsIsGivenUp()
    {
        const auto [mechanism, isExpired] = fetch<QByteArray, bool>("mechanism", "isExpired");
        QVERIFY(signIn());
        const QVariantMap stored = mStored;
        QVariantMap session = KeptData::sessionIn(stored);
        if (isExpired)
            session.insert("ValidUntil"_s, qint64{1});
        const QVariantMap data = request(KeptData::withSession(stored, session));

        QVERIFY(EmulatedService::orderFaults("hang"));
        NetworkReplyContainer::setGuardMilliseconds(shortGuard);
        mEvents.clear();
        QElapsedTimer timer;
        timer.start();
        process(mechanism.constData(), data);
        QVERIFY(waitForEnd());
        // Qt's timers are a twentieth early at most.
        QVERIFY2(timer.elapsed() >= shortGuard * 19 / 20,
                 qPrintable(QString::number(timer.elapsed())));
        QVERIFY(saysNothingMore());
        QCOMPARE(mEvents, timedOut); // and nothing is stored
        QCOMPARE(mStored, stored);

        recover();
        mEvents.clear();
        process(mechanism.constData(), data);
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents.last(), "result"_s);
    }

    void cancellingShortlyBeforeTheGuardAnswersOnce()
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

    void cancellingShortlyAfterTheGuardSaysNothingMore()
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

    void theNextRequestMayComeWithTheAnswer()
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
        QVERIFY(waitUntil([this] { return mEvents.contains("result"_s); }));
        QCOMPARE(mEvents, timedOut + served);
    }

private:
    bool signIn()
    {
        mEvents.clear();
        process("signIn", request());
        return waitForEnd() && mEvents == served;
    }

    bool saysNothingMore()
    {
        const int said = mEvents.size();
        return !waitUntil([&] { return mEvents.size() > said; }, shortGuard * 3 / 2);
    }

    /// The service answers again. What hung may have been given up before it got there.
    static void recover()
    {
        NetworkReplyContainer::setGuardMilliseconds(onDevices);
        EmulatedService::ask("DELETE", "/faults");
    }
};

QTEST_GUILESS_MAIN(TestPluginGuard)
#include "tst_plugin_guard.moc"
