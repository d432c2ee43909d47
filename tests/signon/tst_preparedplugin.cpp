// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/preparedplugin.h"

#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <SignOn/Identity>

#include <QDBusPendingCallWatcher>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::PreparedPlugin;

namespace {

constexpr int server = 3;

std::unique_ptr<SignOn::Identity> taken(PreparedPlugin& prepared)
{
    return std::unique_ptr<SignOn::Identity>(prepared.take());
}

} // namespace

class TestPreparedPlugin : public QObject
{
    Q_OBJECT

public:
    explicit TestPreparedPlugin(SessionSandbox& sandbox) : mSandbox(sandbox) {}

private Q_SLOTS:
    void init()
    {
        QVERIFY(SessionSandbox::startDaemon());
        mSandbox.script({});
    }

    void nothingOfAnybodysIsToldToThePlugin()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        const PluginRequest request = mSandbox.requests().constFirst();
        QCOMPARE(request.mechanism, "initialise"_s);
        QCOMPARE(request.data.value("ServerUrlValue"_s).toInt(), server);
        QVERIFY(request.data.value("Prepare"_s).toBool());
        for (const char* key : {"ConsumerKey", "ConsumerSecret", "UserName", "Secret"})
            QVERIFY2(request.data.value(QLatin1String(key)).toString().isEmpty(), key);
        QVERIFY(taken(prepared));
    }

    void anIdentityIsGivenAwayOnce()
    {
        PreparedPlugin prepared(nullptr);
        QVERIFY(!taken(prepared));
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        QVERIFY(taken(prepared));
        QVERIFY(!taken(prepared));
    }

    void nothingIsStoredByIt()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        for (const char* table : {"CREDENTIALS", "ACL", "METHODS"})
            QCOMPARE(mSandbox.credentials("SELECT * FROM "_s + QLatin1String(table)).size(), 0);
    }

    void nothingIsLeftOfTheQuestionForTheDaemon()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(!prepared.findChildren<QDBusPendingCallWatcher*>().isEmpty());
        QVERIFY(mSandbox.waitForRequests(1));
        QVERIFY(
            waitUntil([&] { return prepared.findChildren<QDBusPendingCallWatcher*>().isEmpty(); }));
    }

    void thePluginIsAskedAgainInTheSameProcess()
    {
        PreparedPlugin prepared(nullptr);
        // It is asked because it is begun again, and not because it is time.
        prepared.setRenewalMilliseconds(600000);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        // While it has not answered it is not asked anything else.
        QVERIFY(waitUntil([&] {
            prepared.begin(server + 1);
            return mSandbox.requests().size() > 1;
        }));
        const QList<PluginRequest> requests = mSandbox.requests();
        QCOMPARE(requests.at(1).processId, requests.at(0).processId);
        QCOMPARE(requests.at(1).data.value("ServerUrlValue"_s).toInt(), server + 1);
    }

    // As long as there may be a connection, and no longer than was said.
    void itIsAskedAgainAStatedNumberOfTimes()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        // Answered, too: another one comes only then.
        QVERIFY(waitUntil([&] {
            const bool isAnswered = mSandbox.requests().size() > 1;
            if (!isAnswered)
                prepared.begin(server);
            return isAnswered;
        }));
        const int before = mSandbox.requests().size();
        prepared.setRenewalMilliseconds(10);
        QVERIFY(waitUntil([&] { return !prepared.isReady(); }));
        // Fewer where one had not been answered when the next was due.
        QVERIFY(mSandbox.requests().size() <= before + PreparedPlugin::renewals);
    }

    void aPluginThatHangsIsAskedOnce()
    {
        mSandbox.script({{{}, PluginStep::Hang, {}, 0}});
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        prepared.setRenewalMilliseconds(1);
        QVERIFY(waitUntil([&] { return !prepared.isReady(); }));
        QCOMPARE(mSandbox.requests().size(), 1);
    }

    // It does not know what it is asked, and wants the keys.
    void anOlderPluginDoesNoHarm()
    {
        mSandbox.script({{{}, PluginStep::Err, {}, 600}});
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        QVERIFY(waitUntil([&] { return !prepared.isReady(); }));
        QVERIFY(!taken(prepared));
    }

    void aDaemonThatEndsTakesItAlong()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(1));
        QVERIFY(prepared.isReady());
        QVERIFY(SessionSandbox::killDaemon());
        QVERIFY(waitUntil([&] { return !prepared.isReady(); }));
        QVERIFY(!taken(prepared));
        prepared.begin(server);
        QVERIFY(mSandbox.waitForRequests(2));
        QVERIFY(taken(prepared));
    }

    void withoutADaemonThereIsNone()
    {
        QVERIFY(SessionSandbox::killDaemon());
        mSandbox.setDaemonInstalled(false);
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(waitUntil([&] { return !prepared.isBeginning(); }));
        QVERIFY(!taken(prepared));
        mSandbox.setDaemonInstalled(true);
    }

    void oneThatIsTakenWhileItBeginsDoesNotComeLater()
    {
        PreparedPlugin prepared(nullptr);
        prepared.begin(server);
        QVERIFY(!taken(prepared));
        // The bus answers in the order in which it was asked.
        PreparedPlugin another(nullptr);
        another.begin(server);
        QVERIFY(waitUntil([&] { return another.isReady(); }));
        QVERIFY(!prepared.isReady());
    }

private:
    SessionSandbox& mSandbox;
};

KEL_TEST_IN_SESSION(TestPreparedPlugin)
#include "tst_preparedplugin.moc"
