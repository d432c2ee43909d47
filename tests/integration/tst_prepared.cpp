// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs inside an emulator with a network between, which counts connections and round trips.
#include "emulator/emulatorprocess.h"
#include "integration/emulatedservice.h"
#include "rest/transport/serviceconnections.h"
#include "support/literals.h"
#include "support/rows.h"

#include <kelaccount/client.h>

#include <QJsonDocument>
#include <QTest>

#include <memory>

using namespace KelTest;
using KelAccount::Client;

namespace {

constexpr int callPatience = 20000;

std::unique_ptr<Client> newClient()
{
    auto client = std::make_unique<Client>();
    client->initialize("demo-key"_s, "demo-secret"_s, KelAccount::Server::Production, "service"_s);
    return client;
}

} // namespace

class TestPrepared : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(mEmulator.joinSurrounding(), "run this with kelaccount-emulator run -- PROGRAM");
    }
    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void aFirstCallCostsAllThatItsConnectionDoes()
    {
        const auto client = newClient();
        const int before = counted("roundTrips");
        QVERIFY(asks(*client));
        QCOMPARE(counted("roundTrips") - before, 4);
    }

    void aPreparedOneCostsOneRoundTrip()
    {
        const auto client = newClient();
        const int connections = counted("connections");
        const int handshakes = counted("handshakes");
        client->prepare();
        QTRY_COMPARE_WITH_TIMEOUT(counted("handshakes"), handshakes + 1, callPatience);
        const int requests = mEmulator.requests().size();
        const int before = counted("roundTrips");
        QVERIFY(asks(*client));
        QCOMPARE(counted("roundTrips") - before, 1);
        QCOMPARE(mEmulator.requests().size(), requests + 1);
        QCOMPARE(counted("connections"), connections + 1);
    }

    void oneThatWaitsForItCostsNoMoreThanWithout()
    {
        const auto client = newClient();
        const int connections = counted("connections");
        const int before = counted("roundTrips");
        client->prepare();
        QVERIFY(asks(*client));
        QCOMPARE(counted("roundTrips") - before, 4);
        QCOMPARE(counted("connections"), connections + 1);
    }

    void aConnectionThatIsMadeAnewResumesTheSession()
    {
        using KelRestHandler::ServiceConnections;
        const auto client = newClient();
        const int handshakes = counted("handshakes");
        const int resumptions = counted("resumptions");
        QVERIFY(asks(*client));
        QCOMPARE(counted("handshakes"), handshakes + 1);
        QCOMPARE(counted("resumptions"), resumptions);
        // None is kept any more.
        ServiceConnections::setIdleMilliseconds(-1);
        QVERIFY(asks(*client));
        QVERIFY(asks(*client));
        ServiceConnections::setIdleMilliseconds(ServiceConnections::idleMilliseconds);
        QCOMPARE(counted("handshakes"), handshakes + 3);
        QCOMPARE(counted("resumptions"), resumptions + 2);
        // Another client has none to resume.
        QVERIFY(asks(*newClient()));
        QCOMPARE(counted("resumptions"), resumptions + 2);
    }

    void aSessionIsNotResumedUnderAnotherName()
    {
        const auto client = newClient();
        QVERIFY(asks(*client));
        const int resumptions = counted("resumptions");
        QVERIFY(mEmulator.orderFaults("wrong-host"));
        // The emulator ends the connection that there is, and is not waited for.
        KelRestHandler::ServiceConnections::setIdleMilliseconds(-1);
        int status = 0;
        client->isUserIdAvailable("bob"_s).then(
            this, [] {}, [&status](const KelAccount::Failure& f) { status = f.status; });
        QTRY_COMPARE_WITH_TIMEOUT(status, int(KelAccount::ErrorSslHandshakeFailed), callPatience);
        KelRestHandler::ServiceConnections::setIdleMilliseconds(
            KelRestHandler::ServiceConnections::idleMilliseconds);
        QCOMPARE(counted("resumptions"), resumptions);
        // Nor is it afterwards: it may have been what went wrong.
        QVERIFY(asks(*client));
        QCOMPARE(counted("resumptions"), resumptions);
    }

    // Whatever went wrong, it may have been the session.
    void aRequestWithoutAReplyLeavesNoneToResume()
    {
        const auto client = newClient();
        QVERIFY(mEmulator.orderFaults("close-before-headers"));
        const int handshakes = counted("handshakes");
        const int resumptions = counted("resumptions");
        QVERIFY(!asks(*client));
        QVERIFY(asks(*client));
        QCOMPARE(counted("handshakes"), handshakes + 2);
        QCOMPARE(counted("resumptions"), resumptions);
    }

    void nothingIsOpenedWithoutIt()
    {
        const int connections = counted("connections");
        const auto client = newClient();
        QTest::qWait(100);
        QCOMPARE(counted("connections"), connections);
    }

    void norBeforeTheClientIsInitialized()
    {
        const int connections = counted("connections");
        Client client;
        client.prepare();
        QTest::qWait(100);
        QCOMPARE(counted("connections"), connections);
    }

    void aClientMayEndMeanwhile_data()
    {
        const auto row = rows<int>("milliseconds");
        for (const int when : {0, 1, 3, 10, 30})
            row(QByteArray::number(when).constData(), when);
    }
    void aClientMayEndMeanwhile()
    {
        const auto [milliseconds] = fetch<int>("milliseconds");
        auto client = newClient();
        client->prepare();
        int answers = 0;
        client->isUserIdAvailable("bob"_s).then(
            this, [&answers] { ++answers; }, [&answers] { ++answers; });
        QTest::qWait(milliseconds);
        client.reset();
        const int then = answers;
        QVERIFY(then <= 1);
        QTest::qWait(30);
        QCOMPARE(answers, then);
    }

    void aCallThatIsTakenBackMeanwhileIsNotAnswered()
    {
        const auto client = newClient();
        client->prepare();
        bool answered = false;
        const auto call = client->isUserIdAvailable("bob"_s);
        call.then(
            this, [&answered] { answered = true; }, [&answered] { answered = true; });
        call.cancel();
        QVERIFY(asks(*client));
        QVERIFY(!answered);
    }

private:
    int counted(const char* what) const
    {
        const QByteArray network = mEmulator.admin("GET", "/network"_s).body;
        return QJsonDocument::fromJson(network).object().value(QLatin1String(what)).toInt(-1);
    }

    static bool asks(Client& client)
    {
        int answers = 0;
        bool good = false;
        client.isUserIdAvailable("bob"_s).then(
            &client,
            [&] {
                ++answers;
                good = true;
            },
            [&] { ++answers; });
        return QTest::qWaitFor([&] { return answers > 0; }, callPatience) && good && answers == 1;
    }

    EmulatorProcess mEmulator;
};

QTEST_GUILESS_MAIN(TestPrepared)
#include "tst_prepared.moc"
