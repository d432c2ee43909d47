// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls of a client on a device that sleeps and wakes up, changes its network, has a new proxy, or
// a network without IPv4.
#include "client/clientcalls.h"
#include "device/testtagserver.h"
#include "integration/standinservice.h"
#include "platform/fakemodem.h"
#include "rest/transport/networkreplycontainer.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/scriptedserver.h"

#include <kelaccount/client.h>

#include <QNetworkProxy>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <memory>
#include <sys/socket.h>

namespace {

// How long the device has slept: only the clock that goes on in the meantime shows it.
std::atomic<qint64> sleptSeconds{0};
// Whether the addresses are gone that connections were made with.
std::atomic<bool> addressesAreGone{false};

} // namespace

// In place of the C library's, for the whole program.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    using Function = int (*)(clockid_t, timespec*);
    static const auto real = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, time);
    if (result == 0 && clock == CLOCK_BOOTTIME)
        time->tv_sec += sleptSeconds;
    return result;
}

extern "C" int bind(int descriptor, const sockaddr* address, socklen_t length) noexcept
{
    using Function = int (*)(int, const sockaddr*, socklen_t);
    static const auto real = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "bind"));
    int type = 0;
    socklen_t size = sizeof type;
    ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size);
    const bool isProbe =
        type == SOCK_DGRAM && (address->sa_family == AF_INET || address->sa_family == AF_INET6);
    if (addressesAreGone && isProbe) {
        errno = EADDRNOTAVAIL;
        return -1;
    }
    return real(descriptor, address, length);
}

using namespace KelAccount;
using namespace KelTest;
using KelRestHandler::NetworkReplyContainer;

class TestClientNetwork : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qunsetenv("http_proxy");
        qunsetenv("https_proxy");
        FakeModem::reset();
    }
    void init();
    void cleanup();

    void theNextCallWorksAfterSleep();
    void aCallInFlightIsAnsweredAfterSleep();
    void theNextCallWorksInAnotherNetwork();
    void aCallInFlightIsAnsweredWhenTheNetworkIsLeft();
    void aNetworkWithoutIPv4Suffices();
    void aProxyThatAppearsIsUsedByTheNextCall();
    void aProxyThatHasGoneIsNotUsedAnyMore();

private:
    const OwnAccounts mAccounts;
    void open(const QHostAddress& address = QHostAddress::LocalHost);
    /// Qt asks no proxy about an address that it knows to be this machine's.
    void openUnderAnotherName();
    bool answers(const QString& line);
    /// From now on nothing is answered on the connections that are there.
    void loseConnections();

    std::unique_ptr<StandInService> mService;
    std::unique_ptr<Client> mClient;
    Answers mAnswers;
};

void TestClientNetwork::init()
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    NetworkReplyContainer::setGuardMilliseconds(60000);
    mAnswers.lines.clear();
    open();
}

void TestClientNetwork::cleanup()
{
    sleptSeconds = 0;
    addressesAreGone = false;
    mClient.reset();
    mService.reset();
}

void TestClientNetwork::open(const QHostAddress& address)
{
    mClient.reset();
    mService.reset();
    mService = std::make_unique<StandInService>(address);
    mClient = std::make_unique<Client>();
    mClient->initialize("key"_s, "secret"_s, Server::Production, "shop"_s);
}

void TestClientNetwork::openUnderAnotherName()
{
    mService->callItself("0.0.0.0"_s);
    mClient = std::make_unique<Client>();
    mClient->initialize("key"_s, "secret"_s, Server::Production, "shop"_s);
}

bool TestClientNetwork::answers(const QString& line)
{
    const int before = mAnswers.lines.size();
    mAnswers.expect(mClient->isUserIdAvailable("bob"_s), this);
    return QTest::qWaitFor([&] { return mAnswers.lines.size() > before; }, onABusyMachine) &&
           mAnswers.lines.last() == line;
}

void TestClientNetwork::loseConnections()
{
    const int used = mService->usedConnections();
    mService->disturb = [this, used](const WireRequest&) {
        return mService->usedConnections() > used ? Disturbance::None : Disturbance::Hang;
    };
}

// ---- Sleep
// ---------------------------------------------------------------------------------------

void TestClientNetwork::theNextCallWorksAfterSleep()
{
    QVERIFY(answers("isUserIdAvailable: free"_s));
    // The service has forgotten the connection meanwhile, and nobody told the device.
    loseConnections();
    sleptSeconds = 3600;
    QVERIFY(answers("isUserIdAvailable: free"_s));
    QCOMPARE(mService->usedConnections(), 2);
}

void TestClientNetwork::aCallInFlightIsAnsweredAfterSleep()
{
    mService->disturb = [](const WireRequest&) { return Disturbance::Hang; };
    mAnswers.lines.clear();
    mAnswers.expect(mClient->isUserIdAvailable("bob"_s), this);
    QTRY_COMPARE(mService->requests().size(), 1);
    sleptSeconds = 3600;
    mService->closeConnections();
    QTRY_COMPARE(mAnswers.lines, QStringList("isUserIdAvailable failed: 402"_s));
    mService->disturb = nullptr;
    QVERIFY(answers("isUserIdAvailable: free"_s));
}

// ---- Another network
// -----------------------------------------------------------------------------

void TestClientNetwork::theNextCallWorksInAnotherNetwork()
{
    // Without TLS the connection is not known before one looks for it, which takes 20 ms.
    constexpr int longEnoughMilliseconds = 60;
    mService->replyBy = [](const WireRequest&) {
        Reaction slow = Reaction::reply(200, QByteArray());
        slow.delayMilliseconds = longEnoughMilliseconds;
        return slow;
    };
    QVERIFY(answers("isUserIdAvailable: free"_s));
    mService->replyBy = nullptr;
    loseConnections();
    addressesAreGone = true;
    sleptSeconds = 1; // nobody moves between one call and the next
    QVERIFY(answers("isUserIdAvailable: free"_s));
    QCOMPARE(mService->usedConnections(), 2);
}

void TestClientNetwork::aCallInFlightIsAnsweredWhenTheNetworkIsLeft()
{
    constexpr int guardMilliseconds = 100;
    NetworkReplyContainer::setGuardMilliseconds(guardMilliseconds);
    mAnswers.lines.clear();
    loseConnections();
    mService->disturb = [](const WireRequest&) { return Disturbance::Hang; };
    mAnswers.expect(mClient->isUserIdAvailable("bob"_s), this);
    QTRY_COMPARE(mService->requests().size(), 1);
    addressesAreGone = true;
    QTRY_COMPARE(mAnswers.lines, QStringList("isUserIdAvailable failed: 404"_s));
    mService->disturb = nullptr;
    NetworkReplyContainer::setGuardMilliseconds(60000);
    QVERIFY(answers("isUserIdAvailable: free"_s));
}

void TestClientNetwork::aNetworkWithoutIPv4Suffices()
{
    open(QHostAddress::LocalHostIPv6);
    QCOMPARE(mService->problems(), QStringList());
    QVERIFY(answers("isUserIdAvailable: free"_s));
    QVERIFY(answers("isUserIdAvailable: free"_s));
    QCOMPARE(mService->usedConnections(), 1);
}

// ---- Proxies
// -------------------------------------------------------------------------------------

void TestClientNetwork::aProxyThatAppearsIsUsedByTheNextCall()
{
    openUnderAnotherName();
    QVERIFY(answers("isUserIdAvailable: free"_s));
    ScriptedServer proxy;
    proxy.answerBy([](const WireRequest&) { return Reaction::reply(503, QByteArray()); });
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, proxy.port()));
    mAnswers.expect(mClient->isUserIdAvailable("bob"_s), this);
    QTRY_COMPARE(proxy.requests().size(), 1);
    QVERIFY(proxy.requests().constFirst().target.startsWith("http://0.0.0.0:"));
    QTRY_COMPARE(mAnswers.lines.size(), 2);
    QCOMPARE(mService->requests().size(), 1);

    // And one that the environment names, for the next client.
    ScriptedServer other;
    other.answerBy([](const WireRequest&) { return Reaction::reply(503, QByteArray()); });
    qputenv("https_proxy", "http://127.0.0.1:" + QByteArray::number(other.port()));
    Client next;
    next.initialize("key"_s, "secret"_s, Server::Production, "shop"_s);
    next.isUserIdAvailable("bob"_s);
    QTRY_COMPARE(other.requests().size(), 1);
    qunsetenv("https_proxy");
}

void TestClientNetwork::aProxyThatHasGoneIsNotUsedAnyMore()
{
    openUnderAnotherName();
    quint16 port = 0;
    {
        ScriptedServer proxy;
        port = proxy.port();
    }
    QNetworkProxy::setApplicationProxy(
        QNetworkProxy(QNetworkProxy::HttpProxy, "127.0.0.1"_s, port));
    // Without TLS, the proxy's refusal is the server's to Qt.
    QVERIFY(answers("isUserIdAvailable failed: 401"_s));
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    QVERIFY(answers("isUserIdAvailable: free"_s));
}

QTEST_GUILESS_MAIN(TestClientNetwork)
#include "tst_clientnetwork.moc"
