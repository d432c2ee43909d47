// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privatebus.h"
#include "support/literals.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

namespace KelTest {

namespace {

constexpr int patienceMs = 15000;
// Debian's own Python has dbusmock; another one may stand first on the path.
const auto python = "/usr/bin/python3"_s;

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

void end(QProcess& process)
{
    process.kill();
    process.waitForFinished(patienceMs);
}

} // namespace

PrivateBus::PrivateBus()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + QFile::encodeName(path("bus")));
}

PrivateBus::~PrivateBus()
{
    stopServices();
    stop();
}

QString PrivateBus::path(const char* name) const
{
    return mFolder.filePath(QLatin1String(name));
}

bool PrivateBus::start()
{
    const QByteArray configuration =
        "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
        " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
        "<busconfig><type>custom</type><listen>unix:path=" +
        QFile::encodeName(path("bus")) + "</listen><servicedir>" +
        QFile::encodeName(mFolder.path()) +
        "</servicedir><policy context=\"default\"><allow send_destination=\"*\" "
        "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
        "<allow own=\"*\"/></policy></busconfig>\n";
    if (!writeFile(path("bus.conf"), configuration))
        return false;
    QFile::remove(path("bus"));
    mBus.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    mBus.start("dbus-daemon"_s, {"--nofork"_s, "--nopidfile"_s, "--nosyslog"_s, "--print-address"_s,
                                 "--config-file="_s + path("bus.conf")});
    return mBus.waitForReadyRead(patienceMs);
}

void PrivateBus::stop()
{
    end(mBus);
}

bool PrivateBus::runModem(const QString& scenario)
{
    auto service = std::make_unique<QProcess>();
    service->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service->setStandardOutputFile(QProcess::nullDevice());
    service->start(python, {QStringLiteral(KELACCOUNT_MOCK_MODEM), scenario});
    mServices.push_back(std::move(service));
    return waitForName(scenario.startsWith("ofono"_s) ? "org.ofono"_s
                                                      : "org.freedesktop.ModemManager1"_s);
}

void PrivateBus::stopServices()
{
    for (const auto& service : mServices)
        end(*service);
    mServices.clear();
}

bool PrivateBus::nameHasOwner(const QString& busName)
{
    const QString name = "kelaccount-test"_s;
    bool owned = false;
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        owned = bus.isConnected() && bus.interface()->isServiceRegistered(busName);
    }
    QDBusConnection::disconnectFromBus(name);
    return owned;
}

bool PrivateBus::waitForName(const QString& busName)
{
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(patienceMs)) {
        if (nameHasOwner(busName))
            return true;
        if (mServices.back()->waitForFinished(0))
            break;
        QTest::qSleep(20);
    }
    return false;
}

bool PrivateBus::addActivatableService(const QString& busName)
{
    return writeFile(mFolder.filePath(busName + ".service"_s),
                     "[D-BUS Service]\nName=" + busName.toLatin1() + "\nExec=/usr/bin/touch " +
                         QFile::encodeName(path("activated")) + "\n");
}

bool PrivateBus::wasActivated() const
{
    return QFile::exists(path("activated"));
}

} // namespace KelTest
