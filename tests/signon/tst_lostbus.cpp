// SPDX-License-Identifier: LGPL-2.1-or-later
// What becomes of a process whose session bus ends. It loses one only once.
#include "common/signondaemon.h"
#include "support/literals.h"
#include "support/sessionsandbox.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QTest>

#include <csignal>

using namespace KelTest;

class TestLostBus : public QObject
{
    Q_OBJECT

public:
    explicit TestLostBus(SessionSandbox& /*sandbox*/) {}

private Q_SLOTS:
    // The sign-on library connects such signals when the daemon answers, whether or not the bus has
    // ended since.
    void aSignalOfTheDaemonCanBeConnected()
    {
        bool isRunning = false;
        KelAccount::ensureSignOnDaemon(this, 30000,
                                       [&isRunning](bool running) { isRunning = running; });
        QVERIFY(waitUntil([&isRunning] { return isRunning; }, 30000));
        QDBusConnection bus = QDBusConnection::sessionBus();
        const auto process = pid_t(bus.interface()->servicePid("org.freedesktop.DBus"_s).value());
        QVERIFY(process > 1);
        QCOMPARE(::kill(process, SIGKILL), 0);
        QVERIFY(waitUntil([&bus] { return !bus.isConnected(); }, 30000));
        QObject receiver;
        // It is no more than this: the process goes on.
        QVERIFY(bus.connect(KelAccount::signOnDaemonName,
                            "/com/google/code/AccountsSSO/SingleSignOn/Identity_0"_s,
                            "com.google.code.AccountsSSO.SingleSignOn.Identity"_s, "infoUpdated"_s,
                            &receiver, SLOT(deleteLater())));
    }
};

KEL_TEST_IN_SESSION(TestLostBus)
#include "tst_lostbus.moc"
