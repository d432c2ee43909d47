// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin without a daemon around it: what the daemon never does to it, and under sanitizers.
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QDataStream>
#include <QTest>

using namespace KelTest;

class TestPluginObject : public PluginObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(EmulatedService::isThere(), "run this with kelaccount-emulator run -- PROGRAM");
    }
    void init() { makePlugin(); }

    void cleanup()
    {
        mPlugin.reset();
        EmulatedService::ask("DELETE", "/faults");
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
        process("signIn", request());
        process("token", request());
        QCOMPARE(mEvents, QStringList{"701"_s});
        QVERIFY(waitUntil([this] { return mEvents.contains("result"_s); }));
        QCOMPARE(mEvents, (QStringList{"701"_s, "store"_s, "result"_s}));
        mEvents.clear();
        process("close", request(mStored));
        QCOMPARE(mEvents, QStringList{"result"_s});
    }

    void storesBeforeItAnswers()
    {
        process("signIn", request());
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents, (QStringList{"store"_s, "result"_s}));
        QVERIFY(!KeptData::nameIn(mStored).isEmpty());
        mEvents.clear();
        process("token", request(mStored));
        QCOMPARE(mEvents, QStringList{"result"_s});
    }

    void cancellingAnswersOnceAndTheNextRequestWorks()
    {
        QVERIFY(hangs("signIn"));
        mPlugin->cancel();
        const QString cancelled = QString::number(SignOn::Error::SessionCanceled);
        QCOMPARE(mEvents, QStringList{cancelled});
        mPlugin->cancel();
        QCOMPARE(mEvents, QStringList{cancelled});
        mEvents.clear();
        process("signIn", request());
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents, (QStringList{"store"_s, "result"_s}));
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
        QVERIFY(!waitUntil([this] { return !mEvents.isEmpty(); }, 100));
        process("initialise", request());
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents, QStringList{"result"_s});
    }

    void itsEndSaysNothing()
    {
        process("signIn", request());
        QVERIFY(waitForEnd());
        mEvents.clear();
        QVERIFY(hangs("privateMechanism_downloadProfile", mStored));
        mPlugin.reset();
        QVERIFY(!waitUntil([this] { return !mEvents.isEmpty(); }, 100));
    }

    void anUnknownMechanismLeavesItAtRest()
    {
        process("", request());
        process("signIN", request());
        const QString unavailable = QString::number(SignOn::Error::MechanismNotAvailable);
        QCOMPARE(mEvents, (QStringList{unavailable, unavailable}));
        mEvents.clear();
        process("initialise", request());
        QCOMPARE(mEvents, QStringList{"result"_s});
    }

    void keepsOtherApplicationsSessionsAsFarAsTheDaemonCarriesThem()
    {
        constexpr int withOthers =
            2048; // half of what the daemon carries, the rest is a request's own
        process("signIn", request());
        QVERIFY(waitForEnd());
        QVariantMap stored = mStored;
        for (int i = 0; i < 20; ++i) {
            stored = KeptData::withSession(stored,
                                           QVariantMap{{"Token"_s, QString(200, QLatin1Char('t'))}},
                                           "other-%1"_s.arg(i));
        }
        QVariantMap data = request(stored);
        data.insert("Unrelated"_s, "from the client"_s);
        mEvents.clear();
        process("signIn", data);
        QVERIFY(waitForEnd());
        QCOMPARE(mEvents, (QStringList{"store"_s, "result"_s}));
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

private:
    bool hangs(const char* mechanism, const QVariantMap& kept = {})
    {
        if (!EmulatedService::orderFaults("hang"))
            return false;
        process(mechanism, request(kept));
        return waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); });
    }
};

QTEST_GUILESS_MAIN(TestPluginObject)
#include "tst_plugin_object.moc"
