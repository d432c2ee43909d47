// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/transport/connectionlatency.h"
#include "support/literals.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QUdpSocket>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

using namespace KelRestHandler;

namespace {

// Qt's sockets leave Nagle's algorithm on; so do these, and nothing of Qt watches them.
class Connection
{
public:
    Connection(int family, quint16 port)
        : mDescriptor(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        if (family == AF_INET6) {
            sockaddr_in6 peer{};
            peer.sin6_family = AF_INET6;
            peer.sin6_addr = in6addr_loopback;
            peer.sin6_port = htons(port);
            mConnected =
                ::connect(mDescriptor, reinterpret_cast<sockaddr*>(&peer), sizeof peer) == 0;
        } else {
            sockaddr_in peer{};
            peer.sin_family = AF_INET;
            peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            peer.sin_port = htons(port);
            mConnected =
                ::connect(mDescriptor, reinterpret_cast<sockaddr*>(&peer), sizeof peer) == 0;
        }
    }
    ~Connection() { ::close(mDescriptor); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isConnected() const { return mConnected; }
    bool hasNoDelay() const
    {
        int on = 0;
        socklen_t length = sizeof on;
        ::getsockopt(mDescriptor, IPPROTO_TCP, TCP_NODELAY, &on, &length);
        return on != 0;
    }

private:
    int mDescriptor;
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
        const Connection first(AF_INET, service.serverPort());
        const Connection second(AF_INET, service.serverPort());
        const Connection other(AF_INET, stranger.serverPort());
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
        const Connection connection(AF_INET, service.serverPort());
        QCOMPARE(disableNagle({QHostAddress("127.0.0.2"_s)}, service.serverPort()), 0);
        QCOMPARE(disableNagle({}, service.serverPort()), 0);
        QVERIFY(!connection.hasNoDelay());
    }

    void theServersOwnEndIsNotTouched()
    {
        QTcpServer service;
        QVERIFY(service.listen(loopback));
        const Connection connection(AF_INET, service.serverPort());
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
        const Connection connection(AF_INET6, service.serverPort());
        QVERIFY(connection.isConnected());
        QCOMPARE(disableNagle({QHostAddress(QHostAddress::LocalHostIPv6)}, service.serverPort()),
                 1);
        QVERIFY(connection.hasNoDelay());
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
