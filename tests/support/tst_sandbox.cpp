// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/sandbox.h"
#include "support/literals.h"

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
    QFile status("/proc/%1/stat"_s.arg(process));
    if (!status.open(QIODevice::ReadOnly))
        return true;
    const QByteArray text = status.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "Z";
}

/// The process that owns the name on a session's bus, started if need be; 0 if it cannot be.
qint64 activate(const Sandbox& sandbox, const QString& name)
{
    const QString connection = "tst-sandbox"_s;
    qint64 process = 0;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(
            sandbox.environment().value("DBUS_SESSION_BUS_ADDRESS"_s), connection);
        const auto ask = [&bus](const QString& method, const QVariantList& arguments) {
            QDBusMessage call =
                QDBusMessage::createMethodCall("org.freedesktop.DBus"_s, "/org/freedesktop/DBus"_s,
                                               "org.freedesktop.DBus"_s, method);
            call.setArguments(arguments);
            return bus.call(call, QDBus::Block, 10000);
        };
        ask("StartServiceByName"_s, {name, 0U});
        const QDBusMessage answer = ask("GetConnectionUnixProcessID"_s, {name});
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
    void leavesNoProcessAndNoFolder()
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

    void twoSessionsAreApart()
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

    void onlyWhatWasNamedCanBeActivated()
    {
        Sandbox sandbox;
        QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
        QCOMPARE(QDir(sandbox.path("bus-services"_s)).entryList(QDir::Files),
                 QStringList(daemonName + ".service"_s));
        QCOMPARE(activate(sandbox, "ca.desrt.dconf"_s), 0);

        Sandbox withSettings;
        withSettings.addActivatableName("ca.desrt.dconf"_s); // package dconf-service
        QVERIFY2(withSettings.start(), qPrintable(withSettings.errorText()));
        QVERIFY(activate(withSettings, "ca.desrt.dconf"_s) > 1);
    }

    void everyPlaceLiesInside()
    {
        Sandbox sandbox;
        sandbox.setVariable("KEL_EXTRA"_s, "given"_s);
        QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
        const QProcessEnvironment environment = sandbox.environment();
        for (const char* name :
             {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR",
              "ACCOUNTS", "AG_PROVIDERS", "AG_SERVICES", "SSO_PLUGINS_DIR", "SSO_STORAGE_PATH"}) {
            const QString place = environment.value(QLatin1String(name));
            QVERIFY2(place.startsWith(sandbox.path() + QLatin1Char('/')), name);
            QVERIFY2(QDir(place).exists(), name);
        }
        QVERIFY(environment.value("DBUS_SESSION_BUS_ADDRESS"_s).contains(sandbox.path()));
        QCOMPARE(environment.value("KEL_EXTRA"_s), "given"_s);
        QCOMPARE(QFile::permissions(sandbox.path("runtime"_s)) & 0x77, QFile::Permissions());
    }

    void saysWhichPackageIsMissing()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", "/nonexistent");
        Sandbox withoutBus;
        const bool started = withoutBus.start();
        qputenv("PATH", path);
        QVERIFY(!started);
        QVERIFY2(withoutBus.errorText().contains("package dbus"_s),
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
        QVERIFY2(withoutDaemon.errorText().contains("package signond"_s),
                 qPrintable(withoutDaemon.errorText()));
    }

    void saysWhichFileIsMissing()
    {
        Sandbox sandbox;
        sandbox.addProvider("/nonexistent/zor.provider"_s);
        QVERIFY(!sandbox.start());
        QVERIFY(sandbox.errorText().contains("/nonexistent/zor.provider"_s));
    }

    void anotherSessionStartsAfterTheFirst()
    {
        Sandbox sandbox;
        QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
        const QString folder = sandbox.path();
        sandbox.stop();
        QVERIFY2(sandbox.start(), qPrintable(sandbox.errorText()));
        QVERIFY(sandbox.path() != folder);
        QVERIFY(activate(sandbox, daemonName) > 1);
    }
};

QTEST_GUILESS_MAIN(TestSandbox)
#include "tst_sandbox.moc"
