// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/kelauthsessioninterface.h"
#include "support/literals.h"
#include "support/patience.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

/// A session bus that closes on whoever comes, and counts them.
class ClosedBus
{
public:
    ClosedBus() : mListening(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(mFolder.filePath("bus"_s));
        if (path.size() >= int(sizeof address.sun_path))
            return;
        std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
        mListens =
            ::bind(mListening, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            ::listen(mListening, 5) == 0;
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
        mDoor = std::thread([this] { serve(); });
    }
    ~ClosedBus()
    {
        ::shutdown(mListening, SHUT_RDWR); // which ends the wait for a visitor
        if (mDoor.joinable())
            mDoor.join();
        ::close(mListening);
    }
    ClosedBus(const ClosedBus&) = delete;
    ClosedBus& operator=(const ClosedBus&) = delete;

    bool listens() const { return mListens; }
    int visitors() const { return mVisitors; }

private:
    void serve()
    {
        for (;;) {
            const int visitor = ::accept4(mListening, nullptr, nullptr, SOCK_CLOEXEC);
            if (visitor < 0)
                return;
            ++mVisitors;
            ::close(visitor);
        }
    }

    QTemporaryDir mFolder;
    int mListening;
    bool mListens = false;
    std::atomic<int> mVisitors{0};
    std::thread mDoor;
};

} // namespace

class TestDaemonStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theBusIsReachedWhenAFirstCallHasHadItsTime()
    {
        ClosedBus bus;
        QVERIFY(bus.listens());
        const KelAccount::KelAuthSessionInterface session;
        // All that happens at once, and no timer.
        QCoreApplication::sendPostedEvents();
        QCOMPARE(bus.visitors(), 0);
        // Nor is it due with the next event.
        constexpr int timeOfACall = 50;
        const auto timers = session.findChildren<QTimer*>();
        QVERIFY(std::any_of(timers.begin(), timers.end(), [](const QTimer* timer) {
            return timer->isActive() && timer->interval() >= timeOfACall;
        }));
        QTRY_VERIFY(bus.visitors() > 0);
    }
};

QTEST_GUILESS_MAIN(TestDaemonStart)
#include "tst_daemonstart.moc"
