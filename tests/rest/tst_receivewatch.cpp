// SPDX-License-Identifier: LGPL-2.1-or-later
// Which connection too much arrived at, where the application has some of its own.
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/transport/networkhandler.h"
#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/receivewatch.h"
#include "support/fixedsigner.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/rows.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

using namespace KelRestHandler;

namespace {

constexpr int watchPatience = 10000;

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

    // Where everything arrives from.
    void theFirstHopIsTheProxyOrTheService_data()
    {
        using Proxy = QNetworkProxy;
        const auto row =
            rows<int, QString, QString, int, bool>("proxy", "address", "host", "port", "isTunnel");
        const QString service = "service.example"_s;
        const QString proxy = "proxy.example"_s;
        row("plain", Proxy::NoProxy, "http://service.example/a"_s, service, 80, false);
        row("TLS", Proxy::NoProxy, "https://service.example/a"_s, service, 443, false);
        row("a port", Proxy::NoProxy, "https://service.example:8443/"_s, service, 8443, false);
        row("a proxy for TLS", Proxy::HttpProxy, "https://service.example/"_s, proxy, 3128, true);
        row("a proxy for plain", Proxy::HttpProxy, "http://service.example/"_s, proxy, 3128, false);
        row("another kind of proxy", Proxy::Socks5Proxy, "https://service.example/"_s, proxy, 3128,
            false);
    }
    void theFirstHopIsTheProxyOrTheService()
    {
        const auto [proxy, address, host, port, isTunnel] =
            fetch<int, QString, QString, int, bool>("proxy", "address", "host", "port", "isTunnel");
        const auto type = QNetworkProxy::ProxyType(proxy);
        const QNetworkProxy before = QNetworkProxy::applicationProxy();
        QNetworkProxy::setApplicationProxy(type == QNetworkProxy::NoProxy
                                               ? QNetworkProxy(type)
                                               : QNetworkProxy(type, "proxy.example"_s, 3128));
        const FirstHop hop = firstHopTo(QUrl(address));
        QNetworkProxy::setApplicationProxy(before);
        QCOMPARE(hop.host, host);
        QCOMPARE(int(hop.port), port);
        QCOMPARE(hop.isTunnel, isTunnel);
    }

    void aFloodIsSeenBesideTheApplicationsConnection()
    {
        ScriptedServer server(mAuthority.serverFor("x", "IP:127.0.0.1"));
        QTcpSocket applications;
        applications.connectToHost(QHostAddress::LocalHost, server.port());
        QVERIFY(applications.waitForConnected(watchPatience));
        NetworkHandler handler(nullptr);
        QSignalSpy spy(&handler, &NetworkHandler::emailIdAvailabilityResponse);
        server.expect(flood());
        QCOMPARE(handler.sendOwnedRequest(request(server), RetrieveEmailIdAvailability), 0);
        QVERIFY(spy.wait(watchPatience));
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
            QVERIFY(applications.waitForConnected(watchPatience));
        }
        NetworkHandler handler(nullptr);
        QSignalSpy spy(&handler, &NetworkHandler::emailIdAvailabilityResponse);
        QCOMPARE(handler.sendOwnedRequest(request(server), RetrieveEmailIdAvailability), 0);
        if (during)
            applications.connectToHost(QHostAddress::LocalHost, server.port());
        QTRY_VERIFY_WITH_TIMEOUT(received > NetworkReplyContainer::maximumReplyBytes,
                                 watchPatience);
        QVERIFY(spy.count() == 1 || spy.wait(watchPatience));
        QCOMPARE(spy.first().at(0).toInt(), 0);
        QCOMPARE(applications.state(), QAbstractSocket::ConnectedState);
    }

    // As where several connections are opened at a time.
    void aSocketAtWhichNothingArrivesIsForgotten()
    {
        ScriptedServer server;
        // Longer than it takes to look for sockets.
        server.answerBy([](const WireRequest&) {
            Reaction late = Reaction::reply(200, "body");
            late.delayMilliseconds = 200;
            return late;
        });
        QTcpSocket silent;
        const auto known = std::make_shared<KnownSockets>();
        QNetworkAccessManager manager;
        const QUrl address(server.base());
        auto before = ReceiveWatch::before(address, *known, true);
        QNetworkReply* const reply = manager.get(QNetworkRequest(address));
        new ReceiveWatch(reply, known, std::move(before)); // the reply's child
        silent.connectToHost(QHostAddress::LocalHost, server.port());
        size_t knownDuring = 0;
        connect(reply, &QNetworkReply::readyRead, this, [&] { knownDuring = known->size(); });
        const QSignalSpy finished(reply, &QNetworkReply::finished);
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, watchPatience);
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QCOMPARE(knownDuring, size_t{2});
        QCOMPARE(known->size(), size_t{1});
        QVERIFY(known->front().descriptor != static_cast<int>(silent.socketDescriptor()));
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
