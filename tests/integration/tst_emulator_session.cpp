// SPDX-License-Identifier: LGPL-2.1-or-later
// "kelaccount-emulator run" gives its command a device's session, and takes all of it away again.
// This program is also the command that it runs.
#include "emulator/emulatorprocess.h"

#include <Accounts/Manager>
#include <Accounts/Provider>
#include <Accounts/Service>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <functional>

#include <unistd.h>

namespace {

constexpr const char* daemonName = "com.google.code.AccountsSSO.SingleSignOn";
constexpr const char* taskVariable = "KELACCOUNT_TEST_TASK";

/// Processes that were started inside the session with this credentials folder.
QStringList processesIn(const QByteArray& credentials)
{
    QStringList found;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& process : processes) {
        QFile environment(QStringLiteral("/proc/%1/environ").arg(process));
        if (process.toInt() > 1 && environment.open(QIODevice::ReadOnly) &&
            environment.readAll().split('\0').contains("SSO_STORAGE_PATH=" + credentials))
            found.append(process);
    }
    return found;
}

bool waitUntil(const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(20000))
            return false;
        QTest::qSleep(5);
    }
    return true;
}

void say(const char* name, const QString& value)
{
    std::printf("%s=%s\n", name, qPrintable(value));
    std::fflush(stdout);
}

/// What a command inside finds.
int look()
{
    for (const char* name : {"HOME", "SSO_STORAGE_PATH", "DBUS_SESSION_BUS_ADDRESS", "https_proxy"})
        say(name, qEnvironmentVariable(name));
    if (!qEnvironmentVariableIsSet("SSO_STORAGE_PATH"))
        return 0;
    QDBusConnectionInterface* const bus = QDBusConnection::sessionBus().interface();
    say("runs before", QString::number(int(bus->isServiceRegistered(QLatin1String(daemonName)))));
    bus->startService(QLatin1String(daemonName));
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(daemonName), QStringLiteral("/com/google/code/AccountsSSO/SingleSignOn"),
        QStringLiteral("com.google.code.AccountsSSO.SingleSignOn.AuthService"),
        QStringLiteral("queryMethods"));
    say("methods",
        QDBusConnection::sessionBus().call(call).arguments().value(0).toStringList().join(
            QLatin1Char(',')));
    Accounts::Manager manager;
    say("provider", manager.provider(QStringLiteral("zor")).name());
    QStringList services;
    const Accounts::ServiceList all = manager.serviceList();
    for (const Accounts::Service& service : all)
        services.append(service.name());
    say("services", services.join(QLatin1Char(',')));
    if (qgetenv(taskVariable) == "stay")
        ::pause();
    return 0;
}

} // namespace

class TestEmulatorSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCommandHasEverything();
    void withoutASessionTheCommandKeepsItsOwn();
    void whatIsMissingIsNamedAndTheCommandRunsAllTheSame_data();
    void whatIsMissingIsNamedAndTheCommandRunsAllTheSame();
    void serveTellsTheSession();
    void nothingStaysOfAKilledEmulator();
    void theTemporaryFolderIsLeftEmpty();
    void theTemporaryFolderMayHaveAnyName();
    void standardStreamsMayBeMissing_data();
    void standardStreamsMayBeMissing();

private:
    struct Run
    {
        int exitCode = -1;
        QMap<QString, QString> said;
        QByteArray problems;
    };
    static QMap<QString, QString> read(const QByteArray& output);
    static Run run(const QStringList& options, const QMap<QString, QString>& environment = {},
                   const QString& redirections = {});
};

QMap<QString, QString> TestEmulatorSession::read(const QByteArray& output)
{
    QMap<QString, QString> said;
    const QStringList lines = QString::fromLocal8Bit(output).split(QLatin1Char('\n'));
    for (const QString& line : lines)
        said.insert(line.section(QLatin1Char('='), 0, 0), line.section(QLatin1Char('='), 1));
    return said;
}

TestEmulatorSession::Run TestEmulatorSession::run(const QStringList& options,
                                                  const QMap<QString, QString>& variables,
                                                  const QString& redirections)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(taskVariable), QStringLiteral("look"));
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
        environment.insert(variable.key(), variable.value());
    BoundProcess emulator;
    emulator.setProcessEnvironment(environment);
    emulator.start(
        QStringLiteral("/bin/sh"),
        QStringList{QStringLiteral("-c"), QLatin1String("exec \"$@\" ") + redirections,
                    QStringLiteral("sh"), EmulatorProcess::program(), QStringLiteral("run")} +
            options + QStringList{QStringLiteral("--"), QCoreApplication::applicationFilePath()});
    if (!emulator.waitForFinished() || emulator.exitStatus() != QProcess::NormalExit)
        return {};
    return {emulator.exitCode(), read(emulator.readAllStandardOutput()),
            emulator.readAllStandardError()};
}

void TestEmulatorSession::aCommandHasEverything()
{
    const Run inside = run({});
    QVERIFY2(inside.exitCode == 0, inside.problems.constData());
    QVERIFY(inside.said.value(QStringLiteral("HOME")) != qEnvironmentVariable("HOME"));
    QVERIFY(!inside.said.value(QStringLiteral("https_proxy")).isEmpty());
    QCOMPARE(inside.said.value(QStringLiteral("runs before")), QStringLiteral("0"));
    QCOMPARE(inside.said.value(QStringLiteral("methods")), QStringLiteral("zorauth"));
    QCOMPARE(inside.said.value(QStringLiteral("provider")), QStringLiteral("zor"));
    QCOMPARE(inside.said.value(QStringLiteral("services")),
             QStringLiteral(KELACCOUNT_TEST_SERVICE));

    const QString credentials = inside.said.value(QStringLiteral("SSO_STORAGE_PATH"));
    QVERIFY(!credentials.isEmpty());
    QVERIFY(!QFile::exists(inside.said.value(QStringLiteral("HOME"))));
    QVERIFY(!QFile::exists(credentials));
    QCOMPARE(processesIn(credentials.toLocal8Bit()), QStringList());
}

void TestEmulatorSession::withoutASessionTheCommandKeepsItsOwn()
{
    const Run inside = run({QStringLiteral("--no-session")});
    QCOMPARE(inside.exitCode, 0);
    QCOMPARE(inside.problems, QByteArray());
    QCOMPARE(inside.said.value(QStringLiteral("HOME")), qEnvironmentVariable("HOME"));
    QCOMPARE(inside.said.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")),
             qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    QCOMPARE(inside.said.value(QStringLiteral("SSO_STORAGE_PATH")), QString());
    QVERIFY(!inside.said.value(QStringLiteral("https_proxy")).isEmpty());
}

void TestEmulatorSession::whatIsMissingIsNamedAndTheCommandRunsAllTheSame_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QByteArray>("package");
    QTest::newRow("bus") << QStringLiteral("PATH") << QByteArray("package dbus");
    QTest::newRow("daemon") << QStringLiteral("XDG_DATA_DIRS") << QByteArray("package signond");
}

void TestEmulatorSession::whatIsMissingIsNamedAndTheCommandRunsAllTheSame()
{
    QFETCH(QString, variable);
    QFETCH(QByteArray, package);
    const Run inside = run({}, {{variable, QStringLiteral("/nonexistent")}});
    QCOMPARE(inside.exitCode, 0);
    QVERIFY2(inside.problems.contains(package), inside.problems.constData());
    QCOMPARE(inside.problems.count('\n'), 1);
    QCOMPARE(inside.said.value(QStringLiteral("SSO_STORAGE_PATH")), QString());
    QVERIFY(!inside.said.value(QStringLiteral("https_proxy")).isEmpty());
}

void TestEmulatorSession::serveTellsTheSession()
{
    EmulatorProcess emulator;
    QVERIFY(emulator.start());
    const QString home = emulator.environment().value(QStringLiteral("HOME"));
    QVERIFY(QDir(home).exists());
    QVERIFY(QFile::exists(emulator.environment()
                              .value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"))
                              .section(QLatin1Char('='), 1)));
    QCOMPARE(emulator.stop(), 0);
    QVERIFY(!QFile::exists(home));
}

void TestEmulatorSession::nothingStaysOfAKilledEmulator()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(taskVariable), QStringLiteral("stay"));
    BoundProcess emulator;
    emulator.setProcessEnvironment(environment);
    emulator.start(EmulatorProcess::program(), {QStringLiteral("run"), QStringLiteral("--"),
                                                QCoreApplication::applicationFilePath()});
    QByteArray output;
    QVERIFY(waitUntil([&] {
        emulator.waitForReadyRead(10);
        output += emulator.readAllStandardOutput();
        return output.contains("services=");
    }));
    const QMap<QString, QString> said = read(output);
    const QByteArray credentials = said.value(QStringLiteral("SSO_STORAGE_PATH")).toLocal8Bit();
    // Bus, daemon and command.
    QVERIFY(processesIn(credentials).size() >= 3);
    const pid_t id = static_cast<pid_t>(emulator.processId());
    QVERIFY(id > 1);
    QCOMPARE(::kill(id, SIGKILL), 0);
    QVERIFY(emulator.waitForFinished());
    QVERIFY(waitUntil([&] { return processesIn(credentials).isEmpty(); }));
    const QString folder =
        QDir::cleanPath(QString::fromLocal8Bit(credentials) + QStringLiteral("/../.."));
    QVERIFY(waitUntil([&] { return !QFile::exists(folder); }));
}

void TestEmulatorSession::theTemporaryFolderIsLeftEmpty()
{
    QTemporaryDir folder;
    QCOMPARE(run({}, {{QStringLiteral("TMPDIR"), folder.path()}}).exitCode, 0);
    QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList());
}

void TestEmulatorSession::theTemporaryFolderMayHaveAnyName()
{
    // An address of the bus has characters that mean something.
    QTemporaryDir folder(QDir::tempPath() + QString::fromUtf8("/käse, 100%; a=b & <c> XXXXXX"));
    QVERIFY(folder.isValid());
    const Run inside = run({}, {{QStringLiteral("TMPDIR"), folder.path()}});
    QVERIFY2(inside.exitCode == 0, inside.problems.constData());
    QCOMPARE(inside.problems, QByteArray());
    QCOMPARE(inside.said.value(QStringLiteral("methods")), QStringLiteral("zorauth"));
    QVERIFY(QDir(folder.path()).isEmpty());
}

void TestEmulatorSession::standardStreamsMayBeMissing_data()
{
    QTest::addColumn<QString>("redirections");
    QTest::newRow("input") << QStringLiteral("<&-");
    QTest::newRow("errors") << QStringLiteral("2>&-");
    QTest::newRow("input and errors") << QStringLiteral("<&- 2>&-");
}

void TestEmulatorSession::standardStreamsMayBeMissing()
{
    QFETCH(QString, redirections);
    const Run inside = run({}, {}, redirections);
    QCOMPARE(inside.exitCode, 0);
    QCOMPARE(inside.said.value(QStringLiteral("methods")), QStringLiteral("zorauth"));
}

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(taskVariable))
        return look();
    TestEmulatorSession test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_emulator_session.moc"
