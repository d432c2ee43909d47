// SPDX-License-Identifier: LGPL-2.1-or-later
// "kelaccount-emulator run" gives its command a device's session, and takes all of it away again.
// This program is also the command that it runs.
#include "emulator/emulatorprocess.h"
#include "support/literals.h"
#include "support/rows.h"

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
    const QStringList processes = QDir("/proc"_s).entryList(QDir::Dirs);
    for (const QString& process : processes) {
        QFile environment("/proc/%1/environ"_s.arg(process));
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
        QLatin1String(daemonName), "/com/google/code/AccountsSSO/SingleSignOn"_s,
        "com.google.code.AccountsSSO.SingleSignOn.AuthService"_s, "queryMethods"_s);
    say("methods",
        QDBusConnection::sessionBus().call(call).arguments().value(0).toStringList().join(
            QLatin1Char(',')));
    Accounts::Manager manager;
    say("provider", manager.provider("zor"_s).name());
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
    void aCommandHasEverything()
    {
        const Run inside = run({});
        QVERIFY2(inside.exitCode == 0, inside.problems.constData());
        QVERIFY(inside.said.value("HOME"_s) != qEnvironmentVariable("HOME"));
        QVERIFY(!inside.said.value("https_proxy"_s).isEmpty());
        QCOMPARE(inside.said.value("runs before"_s), "0"_s);
        QCOMPARE(inside.said.value("methods"_s), "zorauth"_s);
        QCOMPARE(inside.said.value("provider"_s), "zor"_s);
        QCOMPARE(inside.said.value("services"_s), QStringLiteral(KELACCOUNT_TEST_SERVICE));

        const QString credentials = inside.said.value("SSO_STORAGE_PATH"_s);
        QVERIFY(!credentials.isEmpty());
        QVERIFY(!QFile::exists(inside.said.value("HOME"_s)));
        QVERIFY(!QFile::exists(credentials));
        QCOMPARE(processesIn(credentials.toLocal8Bit()), QStringList());
    }

    void withoutASessionTheCommandKeepsItsOwn()
    {
        const Run inside = run({"--no-session"_s});
        QCOMPARE(inside.exitCode, 0);
        QCOMPARE(inside.problems, QByteArray());
        QCOMPARE(inside.said.value("HOME"_s), qEnvironmentVariable("HOME"));
        QCOMPARE(inside.said.value("DBUS_SESSION_BUS_ADDRESS"_s),
                 qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
        QCOMPARE(inside.said.value("SSO_STORAGE_PATH"_s), QString());
        QVERIFY(!inside.said.value("https_proxy"_s).isEmpty());
    }

    void whatIsMissingIsNamedAndTheCommandRunsAllTheSame_data()
    {
        const auto row = rows<QString, QByteArray>("variable", "package");
        row("bus", "PATH", "package dbus");
        row("daemon", "XDG_DATA_DIRS", "package signond");
    }
    void whatIsMissingIsNamedAndTheCommandRunsAllTheSame()
    {
        const auto [variable, package] = fetch<QString, QByteArray>("variable", "package");
        const Run inside = run({}, {{variable, "/nonexistent"_s}});
        QCOMPARE(inside.exitCode, 0);
        QVERIFY2(inside.problems.contains(package), inside.problems.constData());
        QCOMPARE(inside.problems.count('\n'), 1);
        QCOMPARE(inside.said.value("SSO_STORAGE_PATH"_s), QString());
        QVERIFY(!inside.said.value("https_proxy"_s).isEmpty());
    }

    void serveTellsTheSession()
    {
        EmulatorProcess emulator;
        QVERIFY(emulator.start());
        const QString home = emulator.environment().value("HOME"_s);
        QVERIFY(QDir(home).exists());
        QVERIFY(QFile::exists(emulator.environment()
                                  .value("DBUS_SESSION_BUS_ADDRESS"_s)
                                  .section(QLatin1Char('='), 1)));
        QCOMPARE(emulator.stop(), 0);
        QVERIFY(!QFile::exists(home));
    }

    void nothingStaysOfAKilledEmulator()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(taskVariable), "stay"_s);
        BoundProcess emulator;
        emulator.setProcessEnvironment(environment);
        emulator.start(EmulatorProcess::program(),
                       {"run"_s, "--"_s, QCoreApplication::applicationFilePath()});
        QByteArray output;
        QVERIFY(waitUntil([&] {
            emulator.waitForReadyRead(10);
            output += emulator.readAllStandardOutput();
            return output.contains("services=");
        }));
        const QMap<QString, QString> said = read(output);
        const QByteArray credentials = said.value("SSO_STORAGE_PATH"_s).toLocal8Bit();
        // Bus, daemon and command.
        QVERIFY(processesIn(credentials).size() >= 3);
        const pid_t id = static_cast<pid_t>(emulator.processId());
        QVERIFY(id > 1);
        QCOMPARE(::kill(id, SIGKILL), 0);
        QVERIFY(emulator.waitForFinished());
        QVERIFY(waitUntil([&] { return processesIn(credentials).isEmpty(); }));
        const QString folder = QDir::cleanPath(QString::fromLocal8Bit(credentials) + "/../.."_s);
        QVERIFY(waitUntil([&] { return !QFile::exists(folder); }));
    }

    void theTemporaryFolderIsLeftEmpty()
    {
        QTemporaryDir folder;
        QCOMPARE(run({}, {{"TMPDIR"_s, folder.path()}}).exitCode, 0);
        QCOMPARE(
            QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList());
    }

    void theTemporaryFolderMayHaveAnyName()
    {
        // An address of the bus has characters that mean something.
        QTemporaryDir folder(QDir::tempPath() + "/käse, 100%; a=b & <c> XXXXXX"_s);
        QVERIFY(folder.isValid());
        const Run inside = run({}, {{"TMPDIR"_s, folder.path()}});
        QVERIFY2(inside.exitCode == 0, inside.problems.constData());
        QCOMPARE(inside.problems, QByteArray());
        QCOMPARE(inside.said.value("methods"_s), "zorauth"_s);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void standardStreamsMayBeMissing_data()
    {
        const auto row = rows<QString>("redirections");
        row("input", "<&-");
        row("errors", "2>&-");
        row("input and errors", "<&- 2>&-");
    }
    void standardStreamsMayBeMissing()
    {
        QFETCH(QString, redirections);
        const Run inside = run({}, {}, redirections);
        QCOMPARE(inside.exitCode, 0);
        QCOMPARE(inside.said.value("methods"_s), "zorauth"_s);
    }

private:
    struct Run
    {
        int exitCode = -1;
        QMap<QString, QString> said;
        QByteArray problems;
    };

    static QMap<QString, QString> read(const QByteArray& output)
    {
        QMap<QString, QString> said;
        const QStringList lines = QString::fromLocal8Bit(output).split(QLatin1Char('\n'));
        for (const QString& line : lines)
            said.insert(line.section(QLatin1Char('='), 0, 0), line.section(QLatin1Char('='), 1));
        return said;
    }

    static Run run(const QStringList& options, const QMap<QString, QString>& variables = {},
                   const QString& redirections = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(taskVariable), "look"_s);
        for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable)
            environment.insert(variable.key(), variable.value());
        BoundProcess emulator;
        emulator.setProcessEnvironment(environment);
        emulator.start("/bin/sh"_s,
                       QStringList{"-c"_s, "exec \"$@\" "_s + redirections, "sh"_s,
                                   EmulatorProcess::program(), "run"_s} +
                           options + QStringList{"--"_s, QCoreApplication::applicationFilePath()});
        if (!emulator.waitForFinished() || emulator.exitStatus() != QProcess::NormalExit)
            return {};
        return {emulator.exitCode(), read(emulator.readAllStandardOutput()),
                emulator.readAllStandardError()};
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(taskVariable))
        return look();
    TestEmulatorSession test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_emulator_session.moc"
