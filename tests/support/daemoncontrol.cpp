// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/daemoncontrol.h"

#include "support/literals.h"
#include "support/sqlitereader.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <csignal>

namespace KelTest::DaemonControl {

namespace {

constexpr int busTimeoutMs = 5000;

const QLatin1String daemonName("com.google.code.AccountsSSO.SingleSignOn");

/// A call to the bus itself, on a connection of its own: the connection that the code under test
/// uses must neither see the answers nor be woken by them.
QDBusMessage askBus(const QString& method, const QVariantList& arguments)
{
    static int count = 0;
    const QString name = "kel-test-%1"_s.arg(count++);
    QDBusMessage answer;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
        QDBusMessage call = QDBusMessage::createMethodCall(
            "org.freedesktop.DBus"_s, "/org/freedesktop/DBus"_s, "org.freedesktop.DBus"_s, method);
        call.setArguments(arguments);
        answer = bus.call(call, QDBus::Block, busTimeoutMs);
    }
    QDBusConnection::disconnectFromBus(name);
    return answer;
}

/// The daemon gives a database its version after everything else.
bool isMade(const char* database)
{
    const QString file =
        qEnvironmentVariable("SSO_STORAGE_PATH") + QLatin1Char('/') + QLatin1String(database);
    return QFile::exists(file) &&
           sqliteRows(file, "PRAGMA user_version"_s).value(0).value(0).toInt() > 0;
}

/// Not by QTest::qWaitFor(): no event is to be seen.
bool waitForDatabases()
{
    QElapsedTimer timer;
    timer.start();
    while (!isMade("signon.db") || !isMade("signon-secrets.db")) {
        if (timer.hasExpired(busTimeoutMs))
            return false;
        QTest::qSleep(2);
    }
    return true;
}

} // namespace

pid_t processId()
{
    const QDBusMessage answer = askBus("GetConnectionUnixProcessID"_s, {QString(daemonName)});
    return answer.type() == QDBusMessage::ReplyMessage
               ? static_cast<pid_t>(answer.arguments().value(0).toUInt())
               : 0;
}

bool kill()
{
    const pid_t id = processId();
    if (id <= 1 || ::kill(id, SIGKILL) != 0)
        return false;
    QElapsedTimer timer;
    timer.start();
    // Somebody's call may have started the next one by then.
    while (processId() == id) {
        if (timer.hasExpired(busTimeoutMs))
            return false;
        QTest::qSleep(2);
    }
    return true;
}

bool letThisProgramHear()
{
    QDBusConnection shared = QDBusConnection::sessionBus();
    // The bus's messages keep their order: what it says of names comes before this answer.
    const QDBusMessage answer = shared.call(
        QDBusMessage::createMethodCall("org.freedesktop.DBus"_s, "/org/freedesktop/DBus"_s,
                                       "org.freedesktop.DBus"_s, "GetId"_s),
        QDBus::Block, busTimeoutMs);
    QCoreApplication::processEvents();
    return answer.type() == QDBusMessage::ReplyMessage;
}

bool start()
{
    askBus("StartServiceByName"_s, {QString(daemonName), 0U});
    return processId() > 1 && waitForDatabases();
}

void setInstalled(const QString& sessionFolder, bool installed)
{
    const QString file = sessionFolder + "/bus-services/"_s + daemonName;
    const QString used = file + ".service"_s;
    QFile::rename(installed ? file : used, installed ? used : file);
    askBus("ReloadConfig"_s, {});
}

} // namespace KelTest::DaemonControl
