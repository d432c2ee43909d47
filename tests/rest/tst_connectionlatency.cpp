// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/connectionlatency.h"
#include "rest/transport/receivedbytes.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/scriptedserver.h"
#include "support/testauthority.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

using namespace KelRestHandler;

namespace {

bool hasNoDelayAt(int descriptor)
{
    int on = 0;
    socklen_t length = sizeof on;
    ::getsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, &length);
    return on != 0;
}

// Qt's sockets leave Nagle's algorithm on; so do these, and nothing of Qt watches them.
class Connection
{
public:
    Connection(const char* address, quint16 port)
    {
        addrinfo hints{};
        hints.ai_flags = AI_NUMERICHOST;
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* peer = nullptr;
        if (::getaddrinfo(address, QByteArray::number(port).constData(), &hints, &peer) != 0)
            return;
        mDescriptor = ::socket(peer->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        mConnected = ::connect(mDescriptor, peer->ai_addr, peer->ai_addrlen) == 0;
        ::freeaddrinfo(peer);
    }
    ~Connection() { ::close(mDescriptor); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isConnected() const { return mConnected; }
    bool hasNoDelay() const { return hasNoDelayAt(mDescriptor); }

private:
    int mDescriptor = -1;
    bool mConnected = false;
};

const QHostAddress loopback(QHostAddress::LocalHost);

} // namespace

class TestConnectionLatency : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlySocketsOfThePeerAreTouched()
    {
        QTcpServer service;
        QTcpServer stranger;
        QVERIFY(service.listen(loopback));
        QVERIFY(stranger.listen(loopback));
        const Connection first("127.0.0.1", service.serverPort());
        const Connection second("127.0.0.1", service.serverPort());
        const Connection other("127.0.0.1", stranger.serverPort());
        QVERIFY(first.isConnected() && second.isConnected() && other.isConnected());

        QCOMPARE(disableNagle({loopback}, service.serverPort()), 2);
        QVERIFY(first.hasNoDelay());
        QVERIFY(second.hasNoDelay());
        QVERIFY(!other.hasNoDelay());
    }

    void thePortAloneIsNotEnough()
    {
        QTcpServer service;
        QVERIFY(service.listen(loopback));
        const Connection connection("127.0.0.1", service.serverPort());
        QCOMPARE(disableNagle({QHostAddress("127.0.0.2"_s)}, service.serverPort()), 0);
        QCOMPARE(disableNagle({}, service.serverPort()), 0);
        QVERIFY(!connection.hasNoDelay());
    }

    void theServersOwnEndIsNotTouched()
    {
        QTcpServer service;
        QVERIFY(service.listen(loopback));
        const Connection connection("127.0.0.1", service.serverPort());
        QVERIFY(service.waitForNewConnection(5000));
        const std::unique_ptr<QTcpSocket> accepted(service.nextPendingConnection());
        QVERIFY(accepted);
        QCOMPARE(disableNagle({loopback}, service.serverPort()), 1);
        QCOMPARE(accepted->socketOption(QAbstractSocket::LowDelayOption).toInt(), 0);
    }

    void anIpv6PeerIsFound()
    {
        QTcpServer service;
        QVERIFY2(service.listen(QHostAddress::LocalHostIPv6),
                 "needs IPv6 on the loopback interface");
        const Connection connection("::1", service.serverPort());
        QVERIFY(connection.isConnected());
        QCOMPARE(disableNagle({QHostAddress(QHostAddress::LocalHostIPv6)}, service.serverPort()),
                 1);
        QVERIFY(connection.hasNoDelay());
    }

    void theConnectionsOfAManagerAreFound()
    {
        const TestAuthority authority;
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        ScriptedServer server(authority.serverFor("x", "IP:127.0.0.1"));
        server.expect(Reaction::reply(200, "body"));
        QNetworkAccessManager manager;
        new ConnectionLatency(&manager, &manager); // the manager's child
        const QNetworkReply* const reply = manager.get(QNetworkRequest(QUrl(server.base())));
        QTRY_VERIFY(reply->isFinished());
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        const auto sockets = connectedSockets(server.port());
        QCOMPARE(sockets.size(), std::size_t{1});
        QVERIFY(hasNoDelayAt(sockets.front().descriptor));
    }

    void datagramSocketsAreLeftAlone()
    {
        QUdpSocket peer;
        QVERIFY(peer.bind(loopback));
        QUdpSocket socket;
        socket.connectToHost(loopback, peer.localPort());
        QVERIFY(socket.waitForConnected(5000));
        QCOMPARE(disableNagle({loopback}, peer.localPort()), 0);
    }
};

QTEST_GUILESS_MAIN(TestConnectionLatency)
#include "tst_connectionlatency.moc"
