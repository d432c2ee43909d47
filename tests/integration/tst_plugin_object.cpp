// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin without a daemon around it: what the daemon never does to it, and under sanitizers.
#include "integration/emulatedservice.h"
#include "integration/keptdata.h"
#include "integration/pluginobject.h"
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
    void cleanup();
    void isTheMethodAndNamesItsMechanisms();
    void aSecondRequestIsRefusedWhileOneIsUnderWay();
    void storesBeforeItAnswers();
    void cancellingAnswersOnceAndTheNextRequestWorks();
    void cancellingAtRestSaysNothing();
    void abortingSaysNothing();
    void itsEndSaysNothing();
    void anUnknownMechanismLeavesItAtRest();
    void keepsOtherApplicationsSessionsAsFarAsTheDaemonCarriesThem();

private:
    bool hangs(const char* mechanism, const QVariantMap& kept = {});
};

void TestPluginObject::cleanup()
{
    mPlugin.reset();
    EmulatedService::ask("DELETE", "/faults");
}

bool TestPluginObject::hangs(const char* mechanism, const QVariantMap& kept)
{
    if (!EmulatedService::orderFaults("hang"))
        return false;
    process(mechanism, request(kept));
    return waitUntil([] { return EmulatedService::faultsLeft().isEmpty(); });
}

void TestPluginObject::isTheMethodAndNamesItsMechanisms()
{
    QCOMPARE(mPlugin->type(), QStringLiteral("zorauth"));
    const QStringList mechanisms = mPlugin->mechanisms();
    QCOMPARE(mechanisms.size(), 17);
    // The odd spelling is the library's.
    QVERIFY(mechanisms.contains(QStringLiteral("privateMechanism_changepassword")));
}

void TestPluginObject::aSecondRequestIsRefusedWhileOneIsUnderWay()
{
    QVERIFY(EmulatedService::orderFaults("delay=200"));
    process("signIn", request());
    process("token", request());
    QCOMPARE(mEvents, QStringList{QStringLiteral("701")});
    QVERIFY(waitUntil([this] { return mEvents.contains(QStringLiteral("result")); }));
    QCOMPARE(mEvents, (QStringList{QStringLiteral("701"), QStringLiteral("store"),
                                   QStringLiteral("result")}));
    mEvents.clear();
    process("close", request(mStored));
    QCOMPARE(mEvents, QStringList{QStringLiteral("result")});
}

void TestPluginObject::storesBeforeItAnswers()
{
    process("signIn", request());
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QVERIFY(!KeptData::nameIn(mStored).isEmpty());
    mEvents.clear();
    process("token", request(mStored));
    QCOMPARE(mEvents, QStringList{QStringLiteral("result")});
}

void TestPluginObject::cancellingAnswersOnceAndTheNextRequestWorks()
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
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
}

void TestPluginObject::cancellingAtRestSaysNothing()
{
    mPlugin->cancel();
    QCOMPARE(mEvents, QStringList());
}

void TestPluginObject::abortingSaysNothing()
{
    QVERIFY(hangs("signIn"));
    mPlugin->abort();
    QVERIFY(!waitUntil([this] { return !mEvents.isEmpty(); }, 100));
    process("initialise", request());
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, QStringList{QStringLiteral("result")});
}

void TestPluginObject::itsEndSaysNothing()
{
    process("signIn", request());
    QVERIFY(waitForEnd());
    mEvents.clear();
    QVERIFY(hangs("privateMechanism_downloadProfile", mStored));
    mPlugin.reset();
    QVERIFY(!waitUntil([this] { return !mEvents.isEmpty(); }, 100));
}

void TestPluginObject::anUnknownMechanismLeavesItAtRest()
{
    process("", request());
    process("signIN", request());
    const QString unavailable = QString::number(SignOn::Error::MechanismNotAvailable);
    QCOMPARE(mEvents, (QStringList{unavailable, unavailable}));
    mEvents.clear();
    process("initialise", request());
    QCOMPARE(mEvents, QStringList{QStringLiteral("result")});
}

void TestPluginObject::keepsOtherApplicationsSessionsAsFarAsTheDaemonCarriesThem()
{
    constexpr int withOthers = 2048; // half of what the daemon carries, the rest is a request's own
    process("signIn", request());
    QVERIFY(waitForEnd());
    QVariantMap stored = mStored;
    for (int i = 0; i < 20; ++i) {
        stored = KeptData::withSession(
            stored, QVariantMap{{QStringLiteral("Token"), QString(200, QLatin1Char('t'))}},
            QStringLiteral("other-%1").arg(i));
    }
    QVariantMap data = request(stored);
    data.insert(QStringLiteral("Unrelated"), QStringLiteral("from the client"));
    mEvents.clear();
    process("signIn", data);
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QVERIFY(!KeptData::nameIn(mStored).isEmpty()); // and nothing beside it
    const QVariantMap sessions = KeptData::mapIn(mStored).value(QStringLiteral("Sessions")).toMap();
    QVERIFY(sessions.contains(QStringLiteral("demo-key")));
    QVERIFY(sessions.size() >= 3);
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << mStored.first();
    const int size = mStored.firstKey().size() + bytes.size();
    QVERIFY2(size <= withOthers, qPrintable(QString::number(size)));
}

QTEST_GUILESS_MAIN(TestPluginObject)
#include "tst_plugin_object.moc"
