// SPDX-License-Identifier: LGPL-2.1-or-later
// Which connection too much arrived at, where the application has some of its own.
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"

#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace KelRestHandler;

namespace {

constexpr int patience = 10000;

// A refusal whose body the network library keeps to itself.
Reaction flood()
{
    Reaction reaction;
    reaction.bytes =
        "HTTP/1.1 401 No\r\nContent-Length: 2147483647\r\n\r\n" + QByteArray(12 * 1024 * 1024, 'x');
    return reaction;
}

} // namespace

class TestReceiveWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    }

    void aFloodIsSeenBesideTheApplicationsConnection()
    {
        ScriptedServer server(mAuthority.serverFor("x", "IP:127.0.0.1"));
        QTcpSocket applications;
        applications.connectToHost(QHostAddress::LocalHost, server.port());
        QVERIFY(applications.waitForConnected(patience));
        NetworkHandler handler(nullptr);
        QSignalSpy spy(&handler, &NetworkHandler::emailIdAvailabilityResponse);
        server.expect(flood());
        QCOMPARE(handler.sendOwnedRequest(request(server), RetrieveEmailIdAvailability), 0);
        QVERIFY(spy.wait(patience));
        QCOMPARE(spy.first().at(0).toInt(), 423);
    }

    void whatTheApplicationReceivesIsNotCounted_data()
    {
        QTest::addColumn<bool>("during");
        QTest::newRow("connected before the request") << false;
        QTest::newRow("connected during the request") << true;
    }
    void whatTheApplicationReceivesIsNotCounted()
    {
        QFETCH(bool, during);
        ScriptedServer server;
        QTcpSocket applications;
        qint64 received = 0;
        connect(&applications, &QTcpSocket::readyRead, this,
                [&] { received += applications.readAll().size(); });
        const auto download = [&] { applications.write("GET / HTTP/1.1\r\n\r\n"); };
        server.answerBy([&](const WireRequest& request) {
            if (request.method == "GET")
                return flood();
            Reaction late = Reaction::reply(200, "");
            late.delayMilliseconds = 500;
            return late;
        });
        connect(&applications, &QTcpSocket::connected, this, download);
        if (!during) {
            applications.connectToHost(QHostAddress::LocalHost, server.port());
            QVERIFY(applications.waitForConnected(patience));
        }
        NetworkHandler handler(nullptr);
        QSignalSpy spy(&handler, &NetworkHandler::emailIdAvailabilityResponse);
        QCOMPARE(handler.sendOwnedRequest(request(server), RetrieveEmailIdAvailability), 0);
        if (during)
            applications.connectToHost(QHostAddress::LocalHost, server.port());
        QTRY_VERIFY_WITH_TIMEOUT(received > NetworkReplyContainer::maximumReplyBytes, patience);
        QVERIFY(spy.count() == 1 || spy.wait(patience));
        QCOMPARE(spy.first().at(0).toInt(), 0);
        QCOMPARE(applications.state(), QAbstractSocket::ConnectedState);
    }

private:
    std::unique_ptr<OAuthRequest> request(const ScriptedServer& server)
    {
        return std::make_unique<RetrieveEmailIdAvailabilityRequest>(
            mSigner, "bob@mail.example"_s, "tag"_ba, "key"_s, server.base(),
            RetrieveEmailIdAvailability);
    }

    TestAuthority mAuthority;
    FixedSigner mSigner;
};

QTEST_GUILESS_MAIN(TestReceiveWatch)
#include "tst_receivewatch.moc"
