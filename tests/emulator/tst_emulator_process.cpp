// SPDX-License-Identifier: LGPL-2.1-or-later
// How "kelaccount-emulator run" treats the command, and what it leaves behind.
#include "emulator/emulatorprocess.h"

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
    return {QStringLiteral("run"), QStringLiteral("--"), QStringLiteral("sh"), QStringLiteral("-c"),
            script};
}

/// Gone, or dead and only waiting for whoever inherited it to take note.
bool isDead(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

} // namespace

class TestEmulatorProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void passesTheExitStatusOn_data();
    void passesTheExitStatusOn();
    void tellsMisuseInOneLine_data();
    void tellsMisuseInOneLine();
    void tellsHelpAndVersion();
    void preparesTheEnvironment();
    void hidesItsFolderFromOthers();
    void removesItsFolder();
    void handsOnInputAndOutput();
    void leavesSignalsAndDescriptorsAsTheyWere();
    void forwardsSignals_data();
    void forwardsSignals();
    void endsWithItsCommandWhenKilled();
    void cannotStartOnATakenPort();
    void cannotStartOnABrokenDatabase();
    void leadsQtProgramsToTheService();

private:
    struct Result
    {
        int status = -1;
        QByteArray output;
        QByteArray errors;
    };
    Result run(const QStringList& arguments, const QByteArray& input = {});
    /// Starts it and reads the process id and the authority file that the script prints.
    std::unique_ptr<BoundProcess> startPrinting(const QString& script, qint64& command,
                                                QString& folder);
    QStringList folders() const;

    std::unique_ptr<QTemporaryDir> mTemporary;
};

void TestEmulatorProcess::init()
{
    // So that what other emulators on this machine leave is not taken for ours.
    mTemporary = std::make_unique<QTemporaryDir>();
    QVERIFY(mTemporary->isValid());
}

void TestEmulatorProcess::cleanup()
{
    QTRY_COMPARE_WITH_TIMEOUT(folders(), QStringList(), patience);
}

QStringList TestEmulatorProcess::folders() const
{
    return QDir(mTemporary->path())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

TestEmulatorProcess::Result TestEmulatorProcess::run(const QStringList& arguments,
                                                     const QByteArray& input)
{
    BoundProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), mTemporary->path());
    environment.insert(QStringLiteral("http_proxy"), QStringLiteral("http://127.0.0.1:9"));
    process.setProcessEnvironment(environment);
    process.start(EmulatorProcess::program(), arguments);
    process.write(input);
    process.closeWriteChannel();
    Result result;
    if (process.waitForFinished(patience) && process.exitStatus() == QProcess::NormalExit)
        result.status = process.exitCode();
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}

std::unique_ptr<BoundProcess> TestEmulatorProcess::startPrinting(const QString& script,
                                                                 qint64& command, QString& folder)
{
    auto process = std::make_unique<BoundProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), mTemporary->path());
    process->setProcessEnvironment(environment);
    process->start(EmulatorProcess::program(),
                   shell(QStringLiteral("echo $$ $KELACCOUNT_EMULATOR_CA; ") + script));
    while (!process->canReadLine() && process->waitForReadyRead(patience)) {
    }
    const QList<QByteArray> words = process->readLine().trimmed().split(' ');
    command = words.value(0).toLongLong();
    folder = QFileInfo(QString::fromLocal8Bit(words.value(1))).path();
    return process;
}

void TestEmulatorProcess::passesTheExitStatusOn_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("lines");
    QTest::newRow("0") << shell(QStringLiteral("exit 0")) << 0 << 0;
    QTest::newRow("7") << shell(QStringLiteral("exit 7")) << 7 << 0;
    QTest::newRow("255") << shell(QStringLiteral("exit 255")) << 255 << 0;
    QTest::newRow("SIGTERM") << shell(QStringLiteral("kill -TERM $$")) << 128 + SIGTERM << 0;
    QTest::newRow("SIGKILL") << shell(QStringLiteral("kill -KILL $$")) << 128 + SIGKILL << 0;
    QTest::newRow("SIGSEGV") << shell(QStringLiteral("kill -SEGV $$")) << 128 + SIGSEGV << 0;
    const auto command = [](const char* name) {
        return QStringList{QStringLiteral("run"), QStringLiteral("--"), QString::fromLatin1(name)};
    };
    QTest::newRow("no such command") << command("kelaccount-no-such-command") << 127 << 1;
    QTest::newRow("no such file") << command("/nowhere/command") << 127 << 1;
    QTest::newRow("no program") << command("/etc/passwd") << 126 << 1;
    QTest::newRow("without dashes")
        << QStringList{QStringLiteral("run"), QStringLiteral("false")} << 1 << 0;
}

void TestEmulatorProcess::passesTheExitStatusOn()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(int, lines);
    const Result result = run(arguments);
    QCOMPARE(result.status, status);
    QCOMPARE(result.errors.count('\n'), lines);
    if (lines > 0)
        QVERIFY2(result.errors.contains(arguments.last().toLocal8Bit()), result.errors);
}

void TestEmulatorProcess::tellsMisuseInOneLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("hint");
    const auto row = [](const char* arguments, const char* hint) {
        QTest::newRow(arguments) << QString::fromLatin1(arguments).split(QLatin1Char(' '),
                                                                         Qt::SkipEmptyParts)
                                 << QByteArray(hint);
    };
    row("", "--help");
    row("walk", "say 'run -- COMMAND' or 'serve'");
    row("run", "run needs a command");
    row("run --", "run needs a command");
    row("serve -- true", "serve takes no command");
    row("run --swim -- true", "unknown option '--swim'");
    row("run -x -- true", "unknown option '-x'");
    row("serve --database", "--database needs a value");
    row("serve --fault fire", "the faults are none, delay=N");
    row("serve --clock-skew late", "--clock-skew needs a number");
    row("serve --proxy-port 65536", "--proxy-port needs a number");
    row("serve --account <a>", "--account needs a name");
    row("serve --reserve=", "--reserve needs a name");
    row("serve --consumer-secret-file /nowhere/secret", "whose first line is the secret");
}

void TestEmulatorProcess::tellsMisuseInOneLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, hint);
    const Result result = run(arguments);
    QCOMPARE(result.status, 2);
    QCOMPARE(result.output, QByteArray());
    QCOMPARE(result.errors.count('\n'), 1);
    QVERIFY2(result.errors.contains(hint), result.errors);
}

void TestEmulatorProcess::tellsHelpAndVersion()
{
    const Result help = run({QStringLiteral("--help")});
    QCOMPARE(help.status, 0);
    QVERIFY(help.output.startsWith("usage: kelaccount-emulator run [options] -- COMMAND"));
    const Result version = run({QStringLiteral("--version")});
    QCOMPARE(version.status, 0);
    QVERIFY(version.output.startsWith("kelaccount-emulator "));
    // An option of the command's is the command's.
    const Result echo = run({QStringLiteral("run"), QStringLiteral("--"), QStringLiteral("printf"),
                             QStringLiteral("%s"), QStringLiteral("--help")});
    QCOMPARE(echo.output, QByteArray("--help"));
}

void TestEmulatorProcess::preparesTheEnvironment()
{
    const Result result = run(shell(QStringLiteral(
        "echo \"${http_proxy-unset}\"; echo $https_proxy; echo $KELACCOUNT_EMULATOR_ADMIN;"
        "head -n 1 $KELACCOUNT_EMULATOR_CA; echo $LD_PRELOAD")));
    const QList<QByteArray> lines = result.output.split('\n');
    QCOMPARE(lines.value(0), QByteArray("unset"));
    QVERIFY(lines.value(1).startsWith("http://127.0.0.1:"));
    QVERIFY(lines.value(2).startsWith("http://127.0.0.1:"));
    QCOMPARE(lines.value(3), QByteArray("-----BEGIN CERTIFICATE-----"));
    QVERIFY(lines.value(4).endsWith("/libkelaccount-emulator-trust.so"));
    QCOMPARE(result.errors, QByteArray());

    // What was to be preloaded stays, ahead of the emulator's.
    // (A sanitizer in the emulator itself wants to be told that this is meant.)
    qputenv("LD_PRELOAD", "libm.so.6");
    qputenv("ASAN_OPTIONS", "verify_asan_link_order=0");
    const Result appended = run(shell(QStringLiteral("echo $LD_PRELOAD")));
    qunsetenv("LD_PRELOAD");
    qunsetenv("ASAN_OPTIONS");
    QVERIFY2(appended.output.startsWith("libm.so.6:/"), appended.output + appended.errors);
}

void TestEmulatorProcess::hidesItsFolderFromOthers()
{
    const Result result = run(shell(QStringLiteral(
        "d=$(dirname $KELACCOUNT_EMULATOR_CA); stat -c %a $d; grep -l 'PRIVATE KEY' $d/*; true")));
    QCOMPARE(result.output, QByteArray("700\n"));
}

void TestEmulatorProcess::removesItsFolder()
{
    const Result result = run(shell(QStringLiteral("dirname $KELACCOUNT_EMULATOR_CA; exit 3")));
    const QString folder = QString::fromLocal8Bit(result.output.trimmed());
    QVERIFY(folder.startsWith(mTemporary->path() + QLatin1Char('/')));
    QCOMPARE(result.status, 3);
    // By the time it ends, not some time later.
    QVERIFY(!QFileInfo::exists(folder));
}

void TestEmulatorProcess::handsOnInputAndOutput()
{
    const Result result = run(shell(QStringLiteral("cat; echo oops >&2")), "some\ninput\n");
    QCOMPARE(result.output, QByteArray("some\ninput\n"));
    QCOMPARE(result.errors, QByteArray("oops\n"));
}

void TestEmulatorProcess::leavesSignalsAndDescriptorsAsTheyWere()
{
    const QString script =
        QStringLiteral("grep -E '^Sig(Ign|Blk)' /proc/self/status; ls /proc/self/fd");
    const Result inside = run(shell(script));
    QProcess outside;
    outside.start(QStringLiteral("sh"), {QStringLiteral("-c"), script});
    QVERIFY(outside.waitForFinished(patience));
    QCOMPARE(inside.output, outside.readAllStandardOutput());
}

void TestEmulatorProcess::forwardsSignals_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("status");
    const QString sleep = QStringLiteral("exec sleep 60");
    QTest::newRow("SIGTERM") << SIGTERM << sleep << 128 + SIGTERM;
    QTest::newRow("SIGINT") << SIGINT << sleep << 128 + SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP << sleep << 128 + SIGHUP;
    // A command may take its time and end as it likes.
    QTest::newRow("SIGTERM with a trap")
        << SIGTERM << QStringLiteral("trap 'sleep 0.3; exit 9' TERM; while :; do sleep 0.05; done")
        << 9;
}

void TestEmulatorProcess::forwardsSignals()
{
    QFETCH(int, number);
    QFETCH(QString, script);
    QFETCH(int, status);
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

void TestEmulatorProcess::endsWithItsCommandWhenKilled()
{
    qint64 command = 0;
    QString folder;
    // A command that no polite signal ends.
    const auto process = startPrinting(
        QStringLiteral("trap '' TERM INT HUP; while :; do sleep 0.1; done"), command, folder);
    QVERIFY(command > 1);
    QVERIFY(QFileInfo::exists(folder));
    process->kill();
    QVERIFY(process->waitForFinished(patience));
    QTRY_VERIFY_WITH_TIMEOUT(isDead(command), patience);
    QTRY_VERIFY_WITH_TIMEOUT(!QFileInfo::exists(folder), patience);
}

void TestEmulatorProcess::cannotStartOnATakenPort()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    const QString port = QString::number(server.serverPort());
    for (const QString& option : {QStringLiteral("--proxy-port"), QStringLiteral("--admin-port")}) {
        const Result result = run({QStringLiteral("run"), option, port, QStringLiteral("true")});
        QCOMPARE(result.status, 125);
        QCOMPARE(result.errors.count('\n'), 1);
        QVERIFY2(result.errors.contains(port.toLatin1()), result.errors);
    }

    // Another emulator's port is taken too.
    EmulatorProcess other;
    QVERIFY(other.start());
    QCOMPARE(run({QStringLiteral("run"), QStringLiteral("--proxy-port"),
                  QString::number(other.proxyPort()), QStringLiteral("true")})
                 .status,
             125);
}

void TestEmulatorProcess::cannotStartOnABrokenDatabase()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(QByteArray(5000, 'x'));
    file.close();
    for (const QString& name : {file.fileName(), QStringLiteral("/nowhere/accounts.db")}) {
        const Result result = run(
            {QStringLiteral("run"), QStringLiteral("--database"), name, QStringLiteral("true")});
        QCOMPARE(result.status, 125);
        QCOMPARE(result.errors.count('\n'), 1);
        QVERIFY2(result.errors.contains(name.toLocal8Bit()), result.errors);
    }
}

void TestEmulatorProcess::leadsQtProgramsToTheService()
{
    const QString probe = QStringLiteral(KELACCOUNT_TRUST_PROBE);
    // Qt's network thread and OpenSSL race at a program's end, which a leak checker reports now and
    // then. The emulator has to keep what the variable says, too.
    qputenv("ASAN_OPTIONS", "detect_leaks=0");
    // Not signed, so refused by the service itself (405,
    // QNetworkReply::ContentOperationNotPermitted): the handshake went well.
    const Result trusting = run({QStringLiteral("run"), QStringLiteral("--"), probe});
    QVERIFY2(trusting.output == "error 202 status 405\n", trusting.output + trusting.errors);
    // Without the module nobody trusts the emulator (QNetworkReply::SslHandshakeFailedError).
    const Result doubting = run(shell(QStringLiteral("unset LD_PRELOAD; exec ") + probe));
    qunsetenv("ASAN_OPTIONS");
    QVERIFY2(doubting.output == "error 6 status 0\n", doubting.output + doubting.errors);
}

QTEST_GUILESS_MAIN(TestEmulatorProcess)
#include "tst_emulator_process.moc"
