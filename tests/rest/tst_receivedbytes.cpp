// SPDX-License-Identifier: LGPL-2.1-or-later
// What is asked of the kernel about the sockets of this process.
#include "rest/transport/receivedbytes.h"
#include "support/rows.h"

#include <QTest>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <vector>

using namespace KelRestHandler;

namespace {

constexpr int patienceMs = 10000;

/// A descriptor that is closed with it; -1 is none.
class Descriptor
{
public:
    explicit Descriptor(int number) : mNumber(number) {}
    ~Descriptor() { end(); }
    Q_DISABLE_COPY(Descriptor)

    operator int() const { return mNumber; }
    void end()
    {
        if (mNumber != -1)
            ::close(mNumber);
        mNumber = -1;
    }

private:
    int mNumber;
};

struct Address
{
    sockaddr_storage storage{};
    socklen_t length = 0;

    sockaddr* generic() { return reinterpret_cast<sockaddr*>(&storage); }
    quint16 port() const
    {
        // At the same place in both families.
        return ntohs(reinterpret_cast<const sockaddr_in&>(storage).sin_port);
    }
};

Address addressOf(const char* text)
{
    Address address;
    auto& four = reinterpret_cast<sockaddr_in&>(address.storage);
    auto& six = reinterpret_cast<sockaddr_in6&>(address.storage);
    if (::inet_pton(AF_INET, text, &four.sin_addr) == 1) {
        four.sin_family = AF_INET;
        address.length = sizeof four;
    } else if (::inet_pton(AF_INET6, text, &six.sin6_addr) == 1) {
        six.sin6_family = AF_INET6;
        address.length = sizeof six;
    }
    return address;
}

int openSocket(const char* address, int type)
{
    return ::socket(addressOf(address).storage.ss_family, type | SOCK_CLOEXEC, 0);
}

/// Someone who listens on a free port.
class Listener
{
public:
    explicit Listener(const char* address, int type = SOCK_STREAM, int queue = 5)
        : mSocket(openSocket(address, type)), mAddress(addressOf(address))
    {
        mListens = ::bind(mSocket, mAddress.generic(), mAddress.length) == 0 &&
                   (type != SOCK_STREAM || ::listen(mSocket, queue) == 0) &&
                   ::getsockname(mSocket, mAddress.generic(), &mAddress.length) == 0;
    }

    bool listens() const { return mListens; }
    quint16 port() const { return mAddress.port(); }
    bool connect(int socket) { return ::connect(socket, mAddress.generic(), mAddress.length) == 0; }
    int accept() { return ::accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC); }

private:
    Descriptor mSocket;
    Address mAddress;
    bool mListens = false;
};

/// Both ends of a connection.
struct Connection
{
    explicit Connection(const char* address = "127.0.0.1")
        : listener(address), own(openSocket(address, SOCK_STREAM)),
          isMade(listener.listens() && listener.connect(own)),
          peers(isMade ? listener.accept() : -1)
    {
    }

    Listener listener;
    Descriptor own;
    bool isMade;
    Descriptor peers;
};

ConnectedSocket known(int descriptor)
{
    struct stat status = {};
    ::fstat(descriptor, &status);
    return {descriptor, status.st_ino};
}

ConnectedSocket another(ConnectedSocket socket)
{
    ++socket.identity;
    return socket;
}

/// Whether one of these events comes within the time.
bool happens(int descriptor, short events, int milliseconds = patienceMs)
{
    pollfd waiting = {descriptor, events, 0};
    return ::poll(&waiting, 1, milliseconds) == 1 && (waiting.revents & events) != 0;
}

/// What the next descriptor of this process will be.
int nextDescriptor()
{
    const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(next);
    return next;
}

/// While it lives this process is as one whose application has closed its input: the least
/// descriptor is free.
class WithoutInput
{
public:
    WithoutInput() : mInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10)) { ::close(STDIN_FILENO); }
    ~WithoutInput()
    {
        if (mInput != -1)
            ::dup2(mInput, STDIN_FILENO);
    }
    Q_DISABLE_COPY(WithoutInput)

private:
    const Descriptor mInput;
};

} // namespace

class TestReceivedBytes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aConnectionIsFoundByItsPeersPort_data() { addressRows(); }
    void aConnectionIsFoundByItsPeersPort()
    {
        QFETCH(QByteArray, address);
        const Connection connection(address);
        const Connection other(address);
        QVERIFY2(connection.isMade && other.isMade,
                 "needs both families on the loopback interface");
        const std::vector<ConnectedSocket> found = connectedSockets(connection.listener.port());
        QCOMPARE(found.size(), std::size_t{1});
        QCOMPARE(found.front().descriptor, int(connection.own));
        QCOMPARE(found.front().identity, known(connection.own).identity);
    }

    void whatIsNoStreamIsNotFound()
    {
        Listener datagrams("127.0.0.1", SOCK_DGRAM);
        const Descriptor own(openSocket("127.0.0.1", SOCK_DGRAM));
        QVERIFY(datagrams.listens() && datagrams.connect(own));
        QVERIFY(connectedSockets(datagrams.port()).empty());
    }

    void aConnectionBesidesThoseThatAreNamedIsTold()
    {
        const Connection connection;
        const Connection other;
        QVERIFY(connection.isMade && other.isMade);
        const quint16 port = connection.listener.port();
        QVERIFY(mayBeConnected(port, {}));
        QVERIFY(mayBeConnected(port, {known(other.own).identity}));
        QVERIFY(!mayBeConnected(port, {known(connection.own).identity}));
    }

    // Wherever to: a proxy's or the service's address may have been changed meanwhile.
    void aConnectionThatIsBeingMadeIsTold()
    {
        const Connection named;
        QVERIFY(named.isMade);
        const quint16 port = named.listener.port();
        const QSet<quint64> others = {known(named.own).identity};
        Listener busy("127.0.0.1", SOCK_STREAM, 0);
        QVERIFY(busy.listens());
        QVERIFY(!mayBeConnected(port, others));
        // Nobody accepts these, and those that have no place in the queue go on trying.
        std::vector<std::unique_ptr<Descriptor>> trying;
        constexpr int more = 8;
        for (int i = 0; i < more; ++i) {
            trying.push_back(
                std::make_unique<Descriptor>(openSocket("127.0.0.1", SOCK_STREAM | SOCK_NONBLOCK)));
            busy.connect(*trying.back());
        }
        QVERIFY(mayBeConnected(port, others));
        trying.clear();
        QVERIFY(!mayBeConnected(port, others));
    }

    void whatArrivesIsCounted()
    {
        const Connection connection;
        QVERIFY(connection.isMade);
        QCOMPARE(bytesReceived(connection.own), quint64(0));
        QCOMPARE(::send(connection.peers, "12345", 5, MSG_NOSIGNAL), ssize_t(5));
        QVERIFY(happens(connection.own, POLLIN));
        QCOMPARE(bytesReceived(connection.own), quint64(5));
        QCOMPARE(bytesReceived(connection.peers), quint64(0));
        QCOMPARE(bytesReceived(-1), quint64(0));
    }

    void aPeersEndIsTold()
    {
        Connection connection;
        QVERIFY(connection.isMade);
        const ConnectedSocket socket = known(connection.own);
        QVERIFY(!wasEndedByPeer(socket));
        connection.peers.end();
        QVERIFY(happens(connection.own, POLLRDHUP));
        QVERIFY(wasEndedByPeer(socket));
        QVERIFY(!wasEndedByPeer(another(socket)));
        connection.own.end();
        QVERIFY(!wasEndedByPeer(socket));
    }

    void anAddressThatTheDeviceHasNotIsLost_data()
    {
        const auto row = rows<QByteArray, bool>("address", "isLost");
        row("IPv4", "127.0.0.1", false);
        row("IPv6", "::1", false);
        // Kept for documentation: nobody has them.
        row("IPv4, gone", "192.0.2.1", true);
        row("IPv6, gone", "2001:db8::1", true);
    }
    void anAddressThatTheDeviceHasNotIsLost()
    {
        const auto [address, isLost] = fetch<QByteArray, bool>("address", "isLost");
        const Descriptor own(openSocket(address, SOCK_STREAM));
        const int on = 1;
        QCOMPARE(::setsockopt(own, IPPROTO_IP, IP_FREEBIND, &on, sizeof on), 0);
        Address bound = addressOf(address);
        QCOMPARE(::bind(own, bound.generic(), bound.length), 0);
        for (const bool withInput : {true, false}) {
            const auto closed = withInput ? nullptr : std::make_unique<WithoutInput>();
            const int next = nextDescriptor();
            QCOMPARE(hasLostItsAddress(known(own)), isLost);
            QVERIFY(!hasLostItsAddress(another(known(own))));
            QCOMPARE(nextDescriptor(), next);
        }
    }

    // Neither what is no socket of the network, nor what is none at all.
    void whatHasNoAddressHasNotLostIt()
    {
        const Descriptor local(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        QVERIFY(!hasLostItsAddress(known(local)));
        const Descriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        QVERIFY(!hasLostItsAddress(known(file)));
        QVERIFY(!hasLostItsAddress({-1, 0}));
    }

    void bothDirectionsAreShutDown_data()
    {
        const auto row = rows<bool>("withInput");
        row("with an input", true);
        row("without one", false);
    }
    void bothDirectionsAreShutDown()
    {
        QFETCH(bool, withInput);
        const Connection connection;
        QVERIFY(connection.isMade);
        {
            const auto closed = withInput ? nullptr : std::make_unique<WithoutInput>();
            const int next = nextDescriptor();
            shutDown(known(connection.own));
            QCOMPARE(nextDescriptor(), next);
        }
        // Each end reads that there is nothing more to come, and the own one cannot send.
        for (const int end : {int(connection.peers), int(connection.own)}) {
            char byte = 0;
            QVERIFY(happens(end, POLLIN));
            QCOMPARE(::recv(end, &byte, 1, 0), ssize_t(0));
        }
        QCOMPARE(::send(connection.own, "x", 1, MSG_NOSIGNAL), ssize_t(-1));
    }

    // Its number is soon used again.
    void aDescriptorOfAnotherIsLeftAlone()
    {
        const Connection connection;
        QVERIFY(connection.isMade);
        shutDown(another(known(connection.own)));
        shutDown({-1, 0});
        QCOMPARE(::send(connection.own, "x", 1, MSG_NOSIGNAL), ssize_t(1));
        char byte = 0;
        QVERIFY(happens(connection.peers, POLLIN));
        QCOMPARE(::recv(connection.peers, &byte, 1, 0), ssize_t(1));
        QVERIFY(!happens(connection.own, POLLIN, 0));
    }

private:
    static void addressRows()
    {
        const auto row = rows<QByteArray>("address");
        row("IPv4", "127.0.0.1");
        row("IPv6", "::1");
    }
};

QTEST_GUILESS_MAIN(TestReceivedBytes)
#include "tst_receivedbytes.moc"
