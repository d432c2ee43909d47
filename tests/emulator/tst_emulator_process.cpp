// SPDX-License-Identifier: LGPL-2.1-or-later
// How "kelaccount-emulator run" treats the command, and what it leaves behind.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QDir>
#include <QFileInfo>
#include <QTcpServer>
#include <QtTest>

#include <csignal>
#include <memory>

namespace {

constexpr int patience = 30000;

QStringList shell(const QString& script)
{
    return {"run"_s, "--"_s, "sh"_s, "-c"_s, script};
}

} // namespace

class TestEmulatorProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        // So that what other emulators on this machine leave is not taken for ours.
        mTemporary = std::make_unique<QTemporaryDir>();
        QVERIFY(mTemporary->isValid());
    }

    void cleanup() { QTRY_COMPARE_WITH_TIMEOUT(folders(), QStringList(), patience); }

    void passesTheExitStatusOn_data()
    {
        const auto row = rows<QStringList, int, int>("arguments", "status", "lines");
        row("0", shell("exit 0"_s), 0, 0);
        row("7", shell("exit 7"_s), 7, 0);
        row("255", shell("exit 255"_s), 255, 0);
        row("SIGTERM", shell("kill -TERM $$"_s), 128 + SIGTERM, 0);
        row("SIGKILL", shell("kill -KILL $$"_s), 128 + SIGKILL, 0);
        row("SIGSEGV", shell("kill -SEGV $$"_s), 128 + SIGSEGV, 0);
        const auto command = [](const char* name) {
            return QStringList{"run"_s, "--"_s, QString::fromLatin1(name)};
        };
        row("no such command", command("kelaccount-no-such-command"), 127, 1);
        row("no such file", command("/nowhere/command"), 127, 1);
        row("no program", command("/etc/passwd"), 126, 1);
        row("without dashes", QStringList{"run"_s, "false"_s}, 1, 0);
    }
    void passesTheExitStatusOn()
    {
        const auto [arguments, status, lines] =
            fetch<QStringList, int, int>("arguments", "status", "lines");
        const ProgramRun result = run(arguments);
        QCOMPARE(result.status, status);
        QCOMPARE(result.errors.count('\n'), lines);
        if (lines > 0)
            QVERIFY2(result.errors.contains(arguments.last().toLocal8Bit()), result.errors);
    }

    void tellsMisuseInOneLine_data() { rowsOfFile(KELACCOUNT_TEST_DATA "/misuse.tsv", {"hint"}); }
    void tellsMisuseInOneLine()
    {
        QFETCH(QByteArray, hint);
        const ProgramRun result = run(QString::fromLatin1(QTest::currentDataTag())
                                          .split(QLatin1Char(' '), Qt::SkipEmptyParts));
        QCOMPARE(result.status, 2);
        QCOMPARE(result.output, QByteArray());
        QCOMPARE(result.errors.count('\n'), 1);
        QVERIFY2(result.errors.contains(hint), result.errors);
    }

    void tellsHelpAndVersion()
    {
        const ProgramRun help = run({"--help"_s});
        QCOMPARE(help.status, 0);
        QVERIFY(help.output.startsWith("usage: kelaccount-emulator [OPTIONS] COMMAND"));
        const ProgramRun version = run({"--version"_s});
        QCOMPARE(version.status, 0);
        QVERIFY(version.output.startsWith("kelaccount-emulator "));
        // An option of the command's is the command's.
        const ProgramRun echo = run({"run"_s, "--"_s, "printf"_s, "%s"_s, "--help"_s});
        QCOMPARE(echo.output, "--help"_ba);
    }

    void preparesTheEnvironment()
    {
        const ProgramRun result = run(shell(
            "echo \"${http_proxy-unset}\"; echo $https_proxy; echo $KELACCOUNT_EMULATOR_ADMIN;"
            "head -n 1 $KELACCOUNT_EMULATOR_CA; echo $LD_PRELOAD"_s));
        const QList<QByteArray> lines = result.output.split('\n');
        QCOMPARE(lines.value(0), "unset"_ba);
        QVERIFY(lines.value(1).startsWith("http://127.0.0.1:"));
        QVERIFY(lines.value(2).startsWith("http://127.0.0.1:"));
        QCOMPARE(lines.value(3), "-----BEGIN CERTIFICATE-----"_ba);
        QVERIFY(lines.value(4).endsWith("/libkelaccount-emulator-trust.so"));
        QCOMPARE(result.errors, QByteArray());

        // What was to be preloaded stays, ahead of the emulator's.
        // (A sanitizer in the emulator itself wants to be told that this is meant.)
        qputenv("LD_PRELOAD", "libm.so.6");
        qputenv("ASAN_OPTIONS", "verify_asan_link_order=0");
        const ProgramRun appended = run(shell("echo $LD_PRELOAD"_s));
        qunsetenv("LD_PRELOAD");
        qunsetenv("ASAN_OPTIONS");
        QVERIFY2(appended.output.startsWith("libm.so.6:/"), appended.output + appended.errors);
    }

    void hidesItsFolderFromOthers()
    {
        const ProgramRun result =
            run(shell("d=$(dirname $KELACCOUNT_EMULATOR_CA); stat -c %a $d; grep -l "
                      "'PRIVATE KEY' $d/*; true"_s));
        QCOMPARE(result.output, "700\n"_ba);
    }

    void removesItsFolder()
    {
        const ProgramRun result = run(shell("dirname $KELACCOUNT_EMULATOR_CA; exit 3"_s));
        const QString folder = QString::fromLocal8Bit(result.output.trimmed());
        QVERIFY(folder.startsWith(mTemporary->path() + QLatin1Char('/')));
        QCOMPARE(result.status, 3);
        // By the time it ends, not some time later.
        QVERIFY(!QFileInfo::exists(folder));
    }

    void handsOnInputAndOutput()
    {
        const ProgramRun result = run(shell("cat; echo oops >&2"_s), "some\ninput\n");
        QCOMPARE(result.output, "some\ninput\n"_ba);
        QCOMPARE(result.errors, "oops\n"_ba);
    }

    void leavesSignalsAndDescriptorsAsTheyWere()
    {
        const QString script = "grep -E '^Sig(Ign|Blk)' /proc/self/status; ls /proc/self/fd"_s;
        const ProgramRun inside = run(shell(script));
        QProcess outside;
        outside.start("sh"_s, {"-c"_s, script});
        QVERIFY(outside.waitForFinished(patience));
        QCOMPARE(inside.output, outside.readAllStandardOutput());
    }

    void forwardsSignals_data()
    {
        const auto row = rows<int, QString, int>("number", "script", "status");
        const QString sleep = "exec sleep 60"_s;
        row("SIGTERM", SIGTERM, sleep, 128 + SIGTERM);
        row("SIGINT", SIGINT, sleep, 128 + SIGINT);
        row("SIGHUP", SIGHUP, sleep, 128 + SIGHUP);
        // A command may take its time and end as it likes.
        row("SIGTERM with a trap", SIGTERM,
            "trap 'sleep 0.3; exit 9' TERM; while :; do sleep 0.05; done", 9);
    }
    void forwardsSignals()
    {
        const auto [number, script, status] =
            fetch<int, QString, int>("number", "script", "status");
        qint64 command = 0;
        QString folder;
        const auto process = startPrinting(script, command, folder);
        QVERIFY(command > 1);
        QVERIFY(QFileInfo::exists(folder));
        // The shell may not have set its trap yet.
        QTest::qWait(300);
        ::kill(static_cast<pid_t>(process->processId()), number);
        QVERIFY(process->waitForFinished(patience));
        QCOMPARE(process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(process->exitCode(), status);
        QVERIFY(isDead(command));
        QVERIFY(!QFileInfo::exists(folder));
    }

    void endsWithItsCommandWhenKilled()
    {
        qint64 command = 0;
        QString folder;
        // A command that no polite signal ends.
        const auto process =
            startPrinting("trap '' TERM INT HUP; while :; do sleep 0.1; done"_s, command, folder);
        QVERIFY(command > 1);
        QVERIFY(QFileInfo::exists(folder));
        process->kill();
        QVERIFY(process->waitForFinished(patience));
        QTRY_VERIFY_WITH_TIMEOUT(isDead(command), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(folder), patience);
    }

    void cannotStartOnATakenPort()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const QString port = QString::number(server.serverPort());
        for (const QString& option : {"--proxy-port"_s, "--admin-port"_s}) {
            const ProgramRun result = run({"run"_s, option, port, "true"_s});
            QCOMPARE(result.status, 125);
            QCOMPARE(result.errors.count('\n'), 1);
            QVERIFY2(result.errors.contains(port.toLatin1()), result.errors);
        }

        // Another emulator's port is taken too.
        EmulatorProcess other;
        QVERIFY(other.start());
        QCOMPARE(
            run({"run"_s, "--proxy-port"_s, QString::number(other.proxyPort()), "true"_s}).status,
            125);
    }

    void cannotStartOnABrokenDatabase()
    {
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(QByteArray(5000, 'x'));
        file.close();
        for (const QString& name : {file.fileName(), "/nowhere/accounts.db"_s}) {
            const ProgramRun result = run({"run"_s, "--database"_s, name, "true"_s});
            QCOMPARE(result.status, 125);
            QCOMPARE(result.errors.count('\n'), 1);
            QVERIFY2(result.errors.contains(name.toLocal8Bit()), result.errors);
        }
    }

    void leadsQtProgramsToTheService()
    {
        const QString probe = QStringLiteral(KELACCOUNT_TRUST_PROBE);
        // Qt's network thread and OpenSSL race at a program's end, which a leak checker reports now
        // and then. The emulator has to keep what the variable says, too.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
        // Not signed, so refused by the service itself (405,
        // QNetworkReply::ContentOperationNotPermitted): the handshake went well.
        const ProgramRun trusting = run({"run"_s, "--"_s, probe});
        QVERIFY2(trusting.output == "error 202 status 405\n", trusting.output + trusting.errors);
        // Without the module nobody trusts the emulator (QNetworkReply::SslHandshakeFailedError).
        const ProgramRun doubting = run(shell("unset LD_PRELOAD; exec "_s + probe));
        qunsetenv("ASAN_OPTIONS");
        QVERIFY2(doubting.output == "error 6 status 0\n", doubting.output + doubting.errors);
    }

private:
    ProgramRun run(const QStringList& arguments, const QByteArray& input = {})
    {
        return EmulatorProcess::run(
            arguments, {{"TMPDIR"_s, mTemporary->path()}, {"http_proxy"_s, "http://127.0.0.1:9"_s}},
            input);
    }

    /// Starts it and reads the process id and the authority file that the script prints.
    std::unique_ptr<BoundProcess> startPrinting(const QString& script, qint64& command,
                                                QString& folder)
    {
        auto process = std::make_unique<BoundProcess>();
        process->setProcessEnvironment(changedEnvironment({{"TMPDIR"_s, mTemporary->path()}}));
        process->start(EmulatorProcess::program(),
                       shell("echo $$ $KELACCOUNT_EMULATOR_CA; "_s + script));
        while (!process->canReadLine() && process->waitForReadyRead(patience)) {
        }
        const QList<QByteArray> words = process->readLine().trimmed().split(' ');
        command = words.value(0).toLongLong();
        folder = QFileInfo(QString::fromLocal8Bit(words.value(1))).path();
        return process;
    }

    QStringList folders() const
    {
        return QDir(mTemporary->path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> mTemporary;
};

QTEST_GUILESS_MAIN(TestEmulatorProcess)
#include "tst_emulator_process.moc"
