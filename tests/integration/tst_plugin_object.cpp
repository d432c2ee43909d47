// SPDX-License-Identifier: LGPL-2.1-or-later
// The plugin without a daemon around it: what the daemon never does to it, and under sanitizers.
#include "integration/emulatedservice.h"
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
    bool hangs(const char* mechanism);
};

void TestPluginObject::cleanup()
{
    mPlugin.reset();
    EmulatedService::ask("DELETE", "/faults");
}

bool TestPluginObject::hangs(const char* mechanism)
{
    if (!EmulatedService::orderFaults("hang"))
        return false;
    process(mechanism, request());
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
    QCOMPARE(mStored.keys(), QStringList{QStringLiteral("Session 2 demo-key")});
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
    QVERIFY(hangs("privateMechanism_downloadProfile"));
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
    QVariantMap others;
    for (int i = 0; i < 20; ++i) {
        others.insert(QStringLiteral("Session 2 other-%1").arg(i),
                      QVariantMap{{QStringLiteral("Token"), QString(200, QLatin1Char('t'))}});
    }
    QVariantMap data = request(others);
    data.insert(QStringLiteral("Unrelated"), QStringLiteral("from the client"));
    process("signIn", data);
    QVERIFY(waitForEnd());
    QCOMPARE(mEvents, (QStringList{QStringLiteral("store"), QStringLiteral("result")}));
    QVERIFY(mStored.contains(QStringLiteral("Session 2 demo-key")));
    QVERIFY(!mStored.contains(QStringLiteral("Unrelated")));
    QVERIFY(!mStored.contains(QStringLiteral("Secret")));
    QVERIFY(mStored.size() >= 3);
    int size = 0;
    for (auto entry = mStored.cbegin(); entry != mStored.cend(); ++entry) {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << entry.value();
        size += entry.key().size() + bytes.size();
    }
    QVERIFY2(size <= withOthers, qPrintable(QString::number(size)));
}

QTEST_GUILESS_MAIN(TestPluginObject)
#include "tst_plugin_object.moc"
