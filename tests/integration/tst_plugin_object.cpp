// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin without a daemon around it, over TLS: what the daemon never does to it, a service that
// hangs, and a guard that is shorter than a device's.
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"

#include <kelaccount/errorstatus.h>

#include <QDataStream>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace KelTest;
using KelRestHandler::NetworkReplyContainer;

namespace {

constexpr int onDevices = 60000;
constexpr int shortGuard = 300;

} // namespace

class TestPluginObject : public PluginObject
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

    void isTheMethodAndNamesItsMechanisms()
    {
        QCOMPARE(mPlugin->type(), "zorauth"_s);
        const QStringList mechanisms = mPlugin->mechanisms();
        QCOMPARE(mechanisms.size(), 17);
        // The odd spelling is the library's.
        QVERIFY(mechanisms.contains("privateMechanism_changepassword"_s));
    }

    void aSecondRequestIsRefusedWhileOneIsUnderWay()
    {
        QVERIFY(EmulatedService::orderFaults("delay=200"));
        process("signIn");
        process("token");
        QCOMPARE(mEvents, failed(701));
        QVERIFY(waitUntil([this] { return mEvents.contains("result"_s); }));
        QCOMPARE(mEvents, failed(701) + stored);
        QCOMPARE(said("close", request(mStored)), answered);
    }

    // What is prepared is nobody's, so the keys are not needed; for everything else they are.
    void opensAConnectionWithoutKeys()
    {
        const QVariantMap prepare = {{"ServerUrlValue"_s, 2}, {"Prepare"_s, true}};
        QCOMPARE(said("initialise", prepare), answered);
        QCOMPARE(said("signIn", prepare), failed(KelAccount::ErrorConsumerKeyMissing));
        QCOMPARE(said("initialise", {{"ServerUrlValue"_s, 2}, {"Prepare"_s, false}}),
                 failed(KelAccount::ErrorConsumerKeyMissing));
        QCOMPARE(said("signIn"), stored);
    }

    void opensNoneForAClientThatIsNotServed()
    {
        QCOMPARE(said("initialise",
                      {{"Prepare"_s, true}, {SSO_ACCESS_CONTROL_TOKENS, QStringList{"another"_s}}}),
                 failed(KelAccount::ErrorUntrustedClient));
    }

    void storesBeforeItAnswers()
    {
        QCOMPARE(said("signIn"), stored);
        QVERIFY(!KeptData::nameIn(mStored).isEmpty());
        QCOMPARE(said("token", request(mStored)), answered);
    }

    void cancellingAnswersOnceAndTheNextRequestWorks()
    {
        QVERIFY(hangs("signIn"));
        for (int i = 0; i < 2; ++i) {
            mPlugin->cancel();
            QCOMPARE(mEvents, failed(SignOn::Error::SessionCanceled));
        }
        QCOMPARE(said("signIn"), stored);
    }

    void cancellingAtRestSaysNothing()
    {
        mPlugin->cancel();
        QCOMPARE(mEvents, QStringList());
    }

    void abortingSaysNothing()
    {
        QVERIFY(hangs("signIn"));
        mPlugin->abort();
        QVERIFY(saysNothingMore(100));
        QCOMPARE(mEvents, QStringList());
        QCOMPARE(said("initialise"), answered);
    }

    void itsEndSaysNothing()
    {
        QCOMPARE(said("signIn"), stored);
        QVERIFY(hangs("privateMechanism_downloadProfile", request(mStored)));
        mPlugin.reset();
        QVERIFY(saysNothingMore(100));
        QCOMPARE(mEvents, stored);
    }

    void aNewPasswordIsNotUsedUnlessItsSecretIsKnown()
    {
        QCOMPARE(said("signIn"), stored);
        const QVariantMap kept = KeptData::with(mStored, "NewPassword", "mistaken"_s);
        for (const QVariant& mark : {QVariant(), QVariant("secret"_s), QVariant(1),
                                     QVariant(QVariantMap{{"Salt"_s, QByteArray()}})}) {
            QCOMPARE(said("signIn", request(KeptData::with(kept, "Secret", mark))).last(),
                     "result"_s);
        }
        QCOMPARE(said("signIn", request(kept)), failed(504));
    }

    void anUnknownMechanismLeavesItAtRest()
    {
        for (const char* mechanism : {"", "signIN"})
            QCOMPARE(said(mechanism), failed(SignOn::Error::MechanismNotAvailable));
        QCOMPARE(said("initialise"), answered);
    }

    void theMessageBesideTheNumberSaysWhoseFaultItWas()
    {
        said("unheard-of");
        QCOMPARE(mMessage, "The plugin does not have this mechanism"_s);
        QCOMPARE(said("signIn", request({{"ConsumerKey"_s, QString()}})), failed(600));
        QCOMPARE(mMessage, "The request cannot be served"_s);
        said("signIn", request({{"Secret"_s, "mistaken"_s}}));
        QCOMPARE(mMessage, "The account service refused"_s);
        QVERIFY(EmulatedService::orderFaults("close-before-headers"));
        QCOMPARE(said("signIn"), failed(402));
        QCOMPARE(mMessage, "The account service could not be asked"_s);
        QVERIFY(hangs("signIn"));
        mPlugin->cancel();
        QCOMPARE(mMessage, "The request was cancelled"_s);
    }

    void keepsOtherApplicationsSessionsAsFarAsTheDaemonCarriesThem()
    {
        constexpr int withOthers =
            2048; // half of what the daemon carries, the rest is a request's own
        QCOMPARE(said("signIn"), stored);
        QVariantMap all = mStored;
        for (int i = 0; i < 20; ++i)
            all = KeptData::withSession(
                all, QVariantMap{{"Token"_s, QString(200, QLatin1Char('t'))}}, "other-%1"_s.arg(i));
        QVariantMap data = request(all);
        data.insert("Unrelated"_s, "from the client"_s);
        QCOMPARE(said("signIn", data), stored);
        QVERIFY(!KeptData::nameIn(mStored).isEmpty()); // and nothing beside it
        const QVariantMap sessions = KeptData::mapIn(mStored).value("Sessions"_s).toMap();
        QVERIFY(sessions.contains("demo-key"_s));
        QVERIFY(sessions.size() >= 3);
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << mStored.first();
        const int size = mStored.firstKey().size() + bytes.size();
        QVERIFY2(size <= withOthers, qPrintable(QString::number(size)));
    }

    void aServiceThatHangsIsGivenUp_data()
    {
        const auto row = rows<QByteArray, bool>("mechanism", "isExpired");
        row("signing in", "signIn", false);
        row("renewing", "privateMechanism_ensureToken", true);
        row("an operation", "privateMechanism_downloadProfile", false);
    }
    void aServiceThatHangsIsGivenUp()
    {
        const auto [mechanism, isExpired] = fetch<QByteArray, bool>("mechanism", "isExpired");
        QCOMPARE(said("signIn"), stored);
        const QVariantMap before = mStored;
        QVariantMap session = KeptData::sessionIn(before);
        if (isExpired)
            session.insert("ValidUntil"_s, qint64{1});
        const QVariantMap data = request(KeptData::withSession(before, session));

        letHangAndGuardShortly();
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(said(mechanism.constData(), data), failed(404)); // and nothing is stored
        // Qt's timers are a twentieth early at most.
        QVERIFY2(timer.elapsed() >= shortGuard * 19 / 20,
                 qPrintable(QString::number(timer.elapsed())));
        QVERIFY(saysNothingMore(shortGuard * 3 / 2));
        QCOMPARE(mStored, before);

        recover();
        QCOMPARE(said(mechanism.constData(), data).last(), "result"_s);
    }

    void cancellingShortlyBeforeTheGuardAnswersOnce()
    {
        letHangAndGuardShortly();
        // Started first, so it is due first on a machine that is late with both.
        constexpr int shortlyBefore = shortGuard * 9 / 10;
        QTimer::singleShot(shortlyBefore, Qt::PreciseTimer, this, [this] { mPlugin->cancel(); });
        QCOMPARE(said("signIn"), failed(SignOn::Error::SessionCanceled));
        QVERIFY(saysNothingMore(shortGuard * 3 / 2));
        recover();
        QCOMPARE(said("signIn"), stored);
    }

    void cancellingShortlyAfterTheGuardSaysNothingMore()
    {
        letHangAndGuardShortly();
        connect(mPlugin.get(), &AuthPluginInterface::error, mPlugin.get(),
                [this] { mPlugin->cancel(); });
        QCOMPARE(said("signIn"), failed(404));
        mPlugin->cancel();
        QVERIFY(saysNothingMore(shortGuard * 3 / 2));
        recover();
        QCOMPARE(said("signIn"), stored);
    }

    void theNextRequestMayComeWithTheAnswer()
    {
        letHangAndGuardShortly();
        connect(mPlugin.get(), &AuthPluginInterface::error, mPlugin.get(), [this] {
            recover();
            // As the daemon does it on its way down; here it goes on.
            mPlugin->abort();
            process("signIn");
        });
        process("signIn");
        QVERIFY(waitUntil([this] { return mEvents.contains("result"_s); }));
        QCOMPARE(mEvents, failed(404) + stored);
    }

private:
    static void letHangAndGuardShortly()
    {
        QVERIFY(EmulatedService::orderFaults("hang"));
        NetworkReplyContainer::setGuardMilliseconds(shortGuard);
    }
    /// The service answers again. What hung may have been given up before it got there.
    static void recover()
    {
        NetworkReplyContainer::setGuardMilliseconds(onDevices);
        EmulatedService::ask("DELETE", "/faults");
    }
};

QTEST_GUILESS_MAIN(TestPluginObject)
#include "tst_plugin_object.moc"
