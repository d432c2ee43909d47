// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/sandbox.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QTest>

using KelEmulator::Sandbox;

namespace {

const QLatin1String daemonName("com.google.code.AccountsSSO.SingleSignOn");

/// Gone, or dead and only waiting to be collected by a parent that is not ours.
bool hasEnded(qint64 process)
{
    QFile status(QStringLiteral("/proc/%1/stat").arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

/// The process that owns the name on a session's bus, started if need be; 0 if it cannot be.
qint64 activate(const Sandbox& sandbox, const QString& name)
{
    const QString connection = QStringLiteral("tst-sandbox");
    qint64 process = 0;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(
            sandbox.environment().value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")), connection);
        const auto ask = [&bus](const QString& method, const QVariantList& arguments) {
            QDBusMessage call = QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                QStringLiteral("org.freedesktop.DBus"), method);
            call.setArguments(arguments);
            return bus.call(call, QDBus::Block, 10000);
        };
        ask(QStringLiteral("StartServiceByName"), {name, 0U});
        const QDBusMessage answer = ask(QStringLiteral("GetConnectionUnixProcessID"), {name});
        if (answer.type() == QDBusMessage::ReplyMessage)
            process = answer.arguments().value(0).toUInt();
    }
    QDBusConnection::disconnectFromBus(connection);
    return process;
}

} // namespace

class TestSandbox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void leavesNoProcessAndNoFolder();
    void twoSessionsAreApart();
    void onlyWhatWasNamedCanBeActivated();
    void everyPlaceLiesInside();
    void saysWhichPackageIsMissing();
    void saysWhichFileIsMissing();
    void anotherSessionStartsAfterTheFirst();
};

void TestSandbox::leavesNoProcessAndNoFolder()
{
    Sandbox sandbox;
    QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
    const QString folder = sandbox.path();
    const qint64 bus = sandbox.busProcessId();
    const qint64 daemon = activate(sandbox, daemonName);
    QVERIFY(daemon > 1);
    QVERIFY(!hasEnded(bus));
    QVERIFY(!hasEnded(daemon));
    QVERIFY(QDir(folder).exists());

    sandbox.stop();
    QVERIFY(hasEnded(bus));
    QVERIFY(hasEnded(daemon));
    QVERIFY(!QDir(folder).exists());
}

void TestSandbox::twoSessionsAreApart()
{
    Sandbox first;
    Sandbox second;
    QVERIFY2(first.start(), qPrintable(first.errorText()));
    QVERIFY2(second.start(), qPrintable(second.errorText()));
    QVERIFY(first.path() != second.path());
    const qint64 firstDaemon = activate(first, daemonName);
    const qint64 secondDaemon = activate(second, daemonName);
    QVERIFY(firstDaemon > 1 && secondDaemon > 1);
    QVERIFY(firstDaemon != secondDaemon);

    first.stop();
    QVERIFY(hasEnded(firstDaemon));
    QVERIFY(!hasEnded(secondDaemon));
}

void TestSandbox::onlyWhatWasNamedCanBeActivated()
{
    Sandbox sandbox;
    QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
    QCOMPARE(QDir(sandbox.path(QStringLiteral("bus-services"))).entryList(QDir::Files),
             QStringList(daemonName + QStringLiteral(".service")));
    QCOMPARE(activate(sandbox, QStringLiteral("ca.desrt.dconf")), 0);

    Sandbox withSettings;
    withSettings.addActivatableName(QStringLiteral("ca.desrt.dconf")); // package dconf-service
    QVERIFY2(withSettings.start(), qPrintable(withSettings.errorText()));
    QVERIFY(activate(withSettings, QStringLiteral("ca.desrt.dconf")) > 1);
}

void TestSandbox::everyPlaceLiesInside()
{
    Sandbox sandbox;
    sandbox.setVariable(QStringLiteral("KEL_EXTRA"), QStringLiteral("given"));
    QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
    const QProcessEnvironment environment = sandbox.environment();
    for (const char* name :
         {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR",
          "ACCOUNTS", "AG_PROVIDERS", "AG_SERVICES", "SSO_PLUGINS_DIR", "SSO_STORAGE_PATH"}) {
        const QString place = environment.value(QLatin1String(name));
        QVERIFY2(place.startsWith(sandbox.path() + QLatin1Char('/')), name);
        QVERIFY2(QDir(place).exists(), name);
    }
    QVERIFY(environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")).contains(sandbox.path()));
    QCOMPARE(environment.value(QStringLiteral("KEL_EXTRA")), QStringLiteral("given"));
    QCOMPARE(QFile::permissions(sandbox.path(QStringLiteral("runtime"))) & 0x77,
             QFile::Permissions());
}

void TestSandbox::saysWhichPackageIsMissing()
{
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    Sandbox withoutBus;
    const bool started = withoutBus.start();
    qputenv("PATH", path);
    QVERIFY(!started);
    QVERIFY2(withoutBus.errorText().contains(QStringLiteral("package dbus")),
             qPrintable(withoutBus.errorText()));

    const QByteArray folders = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", "/nonexistent");
    Sandbox withoutDaemon;
    const bool startedWithoutDaemon = withoutDaemon.start();
    if (folders.isEmpty())
        qunsetenv("XDG_DATA_DIRS");
    else
        qputenv("XDG_DATA_DIRS", folders);
    QVERIFY(!startedWithoutDaemon);
    QVERIFY2(withoutDaemon.errorText().contains(QStringLiteral("package signond")),
             qPrintable(withoutDaemon.errorText()));
}

void TestSandbox::saysWhichFileIsMissing()
{
    Sandbox sandbox;
    sandbox.addProvider(QStringLiteral("/nonexistent/zor.provider"));
    QVERIFY(!sandbox.start());
    QVERIFY(sandbox.errorText().contains(QStringLiteral("/nonexistent/zor.provider")));
}

void TestSandbox::anotherSessionStartsAfterTheFirst()
{
    Sandbox sandbox;
    QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
    const QString folder = sandbox.path();
    sandbox.stop();
    QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
    QVERIFY(sandbox.path() != folder);
    QVERIFY(activate(sandbox, daemonName) > 1);
}

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
