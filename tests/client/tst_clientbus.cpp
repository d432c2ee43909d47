// SPDX-License-Identifier: LGPL-2.1-or-later
// A client in a process whose system bus takes every connection and never says a word. The network
// library asks that bus when it is used first, and waits for it without end.
#include "client/clientcalls.h"
#include "support/literals.h"

#include <kelaccount/client.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <memory>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace KelAccount;
using namespace KelTest;

namespace {

class SilentBus
{
public:
    SilentBus()
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(mFolder.filePath("bus"_s));
        std::memcpy(address.sun_path, path.constData(),
                    qMin(size_t(path.size()), sizeof address.sun_path - 1));
        mIsThere =
            ::bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            ::listen(mSocket, 10) == 0;
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path);
    }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;
    ~SilentBus() { letGo(); }

    bool isThere() const { return mIsThere; }
    /// Whether somebody is connected, and so waits for it.
    bool isWaitedFor() const
    {
        pollfd incoming = {mSocket, POLLIN, 0};
        return ::poll(&incoming, 1, 0) == 1;
    }
    /// Ends the connections that there are, and takes no more.
    void letGo()
    {
        if (mSocket >= 0)
            ::close(mSocket);
        mSocket = -1;
    }

private:
    QTemporaryDir mFolder;
    int mSocket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool mIsThere = false;
};

std::unique_ptr<Client> ready()
{
    auto client = std::make_unique<Client>();
    client->initialize("the-consumer-key"_s, "the-consumer-secret"_s, Server::Production,
                       "the-service"_s);
    return client;
}

} // namespace

class TestClientBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // For the region, which is nowhere.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        qputenv("XDG_CONFIG_HOME", "/nonexistent");
        QVERIFY(mBus.isThere());
    }

    void aSystemBusThatHangsHoldsNoApplicationUp();

private:
    const OwnAccounts mAccounts;
    SilentBus mBus;
};

// Once in a process: the network library does not ask again.
void TestClientBus::aSystemBusThatHangsHoldsNoApplicationUp()
{
    Answers answers;
    const auto staying = ready();
    auto going = ready();
    answers.expect(staying->retrieveCountryCode(), this);
    answers.expect(going->retrieveCountryCode(), this);
    QVERIFY(QTest::qWaitFor([this] { return mBus.isWaitedFor(); }, 60000));
    going.reset();
    // All this was done while nobody was told anything by the bus.
    mBus.letGo();
    QVERIFY(QTest::qWaitFor([&answers] { return !answers.lines.isEmpty(); }, 60000));
    QCOMPARE(answers.lines, QStringList("retrieveCountryCode failed: 807"_s));
}

QTEST_GUILESS_MAIN(TestClientBus)
#include "tst_clientbus.moc"
