// SPDX-License-Identifier: LGPL-2.1-or-later
// Both set-ups with the plugin or the daemon ending, or missing, at each step.
#include "integration/setupfixture.h"
#include "support/daemoncontrol.h"
#include "support/literals.h"
#include "support/rows.h"
#include "support/sessionsandbox.h"
#include "support/sqlitechange.h"

#include <SignOn/Error>

#include <QFile>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <sys/stat.h>

using namespace KelTest;

namespace {

QString pluginFile()
{
    return qEnvironmentVariable("SSO_PLUGINS_DIR") + "/libzorauthplugin.so"_s;
}

QString awayFile()
{
    return pluginFile() + ".away"_s;
}

QString sessionFolder()
{
    return qEnvironmentVariable("SSO_STORAGE_PATH") + "/.."_s;
}

} // namespace

class TestStoryProcesses : public SetUpFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(isReady(), "run this with kelaccount-emulator run -- PROGRAM"); }

    void cleanup()
    {
        restorePlugin();
        DaemonControl::setInstalled(sessionFolder(), true);
        tidyUp();
    }

    void cleanupTestCase() { QVERIFY(EmulatedService::waitForNetworkThreads()); }

    void aPluginThatIsMissingIsOneAnswer_data() { bothSetUps(); }

    void aPluginThatIsMissingIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(QFile::rename(pluginFile(), awayFile()));
        QCOMPARE(attempt(setUp), failed(setUp, 806));
        restorePlugin();
        expectNothingIsLeft(setUp);
    }

    void aPluginThatCannotBeLoadedIsOneAnswer_data() { bothSetUps(); }

    void aPluginThatCannotBeLoadedIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(QFile::rename(pluginFile(), awayFile()));
        QFile garbage(pluginFile());
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write("no module");
        garbage.close();
        QCOMPARE(attempt(setUp), failed(setUp, 806));
        restorePlugin();
        expectNothingIsLeft(setUp);
    }

    void aPluginKilledWhileItStartsIsOneAnswer_data() { bothSetUps(); }

    void aPluginKilledWhileItStartsIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(letThePluginHangAsItStarts());
        whenAPluginStarts([](pid_t plugin) { ::kill(plugin, SIGKILL); });
        QCOMPARE(attempt(setUp), failed(setUp, 806));
        restorePlugin();
        expectNothingIsLeft(setUp);
    }

    void aPluginKilledDuringTheRequestIsOneAnswer_data() { bothSetUps(); }

    void aPluginKilledDuringTheRequestIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] {
            const QList<pid_t> processes = pluginProcesses();
            for (const pid_t process : processes)
                ::kill(process, SIGKILL);
        });
        QCOMPARE(attempt(setUp), failed(setUp, SignOn::Error::Unknown));
        expectNothingIsLeft(setUp);
    }

    void aDaemonKilledBeforeIsStartedAgain_data() { bothSetUps(); }

    void aDaemonKilledBeforeIsStartedAgain()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(DaemonControl::start());
        QVERIFY(DaemonControl::kill());
        QCOMPARE(isComplete(setUp, attempt(setUp)), QString());
    }

    void aDaemonKilledWhileThePluginStartsIsOneAnswer_data() { bothSetUps(); }

    void aDaemonKilledWhileThePluginStartsIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(letThePluginHangAsItStarts());
        whenAPluginStarts([](pid_t plugin) {
            QVERIFY(DaemonControl::kill());
            // Without its daemon it would wait for ever.
            ::kill(plugin, SIGKILL);
        });
        QCOMPARE(attempt(setUp), failed(setUp, 806));
        restorePlugin();
        expectNothingIsLeft(setUp);
    }

    void aDaemonKilledDuringTheRequestIsOneAnswer_data() { bothSetUps(); }

    void aDaemonKilledDuringTheRequestIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] { QVERIFY(DaemonControl::kill()); });
        QCOMPARE(attempt(setUp), failed(setUp, SignOn::Error::InternalCommunication));
        expectNothingIsLeft(setUp);
    }

    void aDaemonKilledAtAnyMomentIsOneAnswer_data()
    {
        columns<SetUp, int>("setUp", "milliseconds");
        for (const int milliseconds : {0, 1, 2, 4, 6, 10, 15, 20, 25, 30}) {
            QTest::addRow("sign-in, %d ms", milliseconds) << SignIn << milliseconds;
            QTest::addRow("registration, %d ms", milliseconds) << Registration << milliseconds;
        }
    }

    // Which step it is in then depends on the machine: either everything is there in the end or
    // nothing.
    void aDaemonKilledAtAnyMomentIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        QFETCH(int, milliseconds);
        prepare(setUp);
        QVERIFY(DaemonControl::start());
        bool killed = false;
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, this,
                           [&killed] { killed = DaemonControl::kill(); });
        const QStringList lines = attempt(setUp);
        QVERIFY(waitUntil([&killed] { return killed; }));
        QCOMPARE(lines.size(), 1);
        if (lines.at(0).contains("Response(0, "_s)) {
            QCOMPARE(isComplete(setUp, lines), QString());
            return;
        }
        QCOMPARE(identities(), QList<QVariantList>());
        // The daemon does not write its two databases as one: killed within some 30 ms after
        // storing, it may have lost the identity and kept the password, which no call can reach
        // then.
        QVERIFY(sqliteChange(storeFile("signon-secrets.db"),
                             "DELETE FROM CREDENTIALS; DELETE FROM STORE"_s));
        expectNothingIsLeft(setUp);
    }

    void aDaemonKilledAfterTheAnswerTakesNothingAway_data() { bothSetUps(); }

    void aDaemonKilledAfterTheAnswerTakesNothingAway()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        bool killed = false;
        recorder().afterwards = [&](const QString& signal) {
            if (!killed && signal.endsWith("Response"_s))
                killed = DaemonControl::kill();
        };
        const QStringList lines = attempt(setUp);
        recorder().afterwards = nullptr;
        QVERIFY(killed);
        QCOMPARE(isComplete(setUp, lines), QString());
    }

    void aDaemonThatDoesNotComeBackIsOneAnswer_data() { bothSetUps(); }

    // Nobody is left who could take the credentials back. They do not stand in the way of the next
    // attempt.
    void aDaemonThatDoesNotComeBackIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        QVERIFY(EmulatedService::orderFaults("hang"));
        whenTheFaultIsTaken([] {
            DaemonControl::setInstalled(sessionFolder(), false);
            QVERIFY(DaemonControl::kill());
        });
        QCOMPARE(attempt(setUp), failed(setUp, SignOn::Error::InternalCommunication));
        DaemonControl::setInstalled(sessionFolder(), true);
        QCOMPARE(identities().size(), 1);
        QVERIFY(!facade().isKeLAccountConfigured());
        QVERIFY(cleanDevice());
        QCOMPARE(succeedsNow(setUp), QString());
    }

    void aDaemonThatIsNotInstalledIsOneAnswer_data() { bothSetUps(); }

    void aDaemonThatIsNotInstalledIsOneAnswer()
    {
        QFETCH(SetUp, setUp);
        prepare(setUp);
        DaemonControl::setInstalled(sessionFolder(), false);
        QVERIFY(DaemonControl::processId() == 0 || DaemonControl::kill());
        QCOMPARE(attempt(setUp), failed(setUp, 800));
        QCOMPARE(attempt(setUp), failed(setUp, 800));
        DaemonControl::setInstalled(sessionFolder(), true);
        expectNothingIsLeft(setUp);
    }

private:
    /// The plugin's module is a pipe that nobody writes to: loading it does not end.
    static bool letThePluginHangAsItStarts()
    {
        return QFile::rename(pluginFile(), awayFile()) &&
               ::mkfifo(QFile::encodeName(pluginFile()).constData(), 0600) == 0;
    }

    static void restorePlugin()
    {
        if (!QFile::exists(awayFile()))
            return;
        QFile::remove(pluginFile());
        QFile::rename(awayFile(), pluginFile());
    }

    /// Those of the rows before may still be there.
    void whenAPluginStarts(const std::function<void(pid_t)>& action)
    {
        const QList<pid_t> before = pluginProcesses();
        const auto started = [before] {
            const QList<pid_t> now = pluginProcesses();
            const auto found = std::find_if(now.cbegin(), now.cend(), [&before](pid_t process) {
                return !before.contains(process);
            });
            return found == now.cend() ? 0 : *found;
        };
        when([started] { return started() != 0; }, [started, action] { action(started()); });
    }
};

QTEST_MAIN(TestStoryProcesses)
#include "tst_story_processes.moc"
