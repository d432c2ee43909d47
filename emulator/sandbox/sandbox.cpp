// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/sandbox.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace KelEmulator {

namespace {

constexpr int startTimeoutMs = 10000;
constexpr int stopTimeoutMs = 5000;
constexpr int pollMs = 2;

const QLatin1String signonDaemonName("com.google.code.AccountsSSO.SingleSignOn");

QString activationFile(const QString& busName)
{
    return QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                  QStringLiteral("dbus-1/services/%1.service").arg(busName));
}

bool fitsSocketAddress(const QString& path)
{
    return static_cast<size_t>(QFile::encodeName(path).size()) < sizeof(sockaddr_un::sun_path);
}

bool acceptsConnections(const QString& socketPath)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = QFile::encodeName(socketPath);
    std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    const bool accepted =
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return accepted;
}

/// In an address, all but a few characters are written as their bytes' numbers.
QString busAddress(const QString& socketPath)
{
    return QLatin1String("unix:path=") +
           QLatin1String(QFile::encodeName(socketPath).toPercentEncoding("/", "~"));
}

/// Whether the process was started inside the session that lies in this folder.
bool livesIn(const QString& processFolder, const QByteArray& marker)
{
    QFile environment(processFolder + QStringLiteral("/environ"));
    return environment.open(QIODevice::ReadOnly) &&
           environment.readAll().split('\0').contains(marker);
}

} // namespace

Sandbox::Sandbox()
{
    addActivatableName(signonDaemonName);
}

Sandbox::~Sandbox()
{
    stop();
}

void Sandbox::setPlugin(const QString& method, const QString& file)
{
    mPlugins.insert(method, file);
}

void Sandbox::addProvider(const QString& file)
{
    mProviders.append(file);
}

void Sandbox::addService(const QString& file)
{
    mServices.append(file);
}

void Sandbox::addActivatableName(const QString& busName)
{
    mActivatableNames.append(busName);
}

void Sandbox::setVariable(const QString& name, const QString& value)
{
    mVariables.insert(name, value);
}

void Sandbox::setParentFolder(const QString& folder)
{
    mParentFolder = folder;
}

bool Sandbox::start()
{
    mErrorText.clear();
    return makeFolders() && installFiles() && writeBusConfiguration() && startBus();
}

QString Sandbox::path(const QString& name) const
{
    return mFolder ? mFolder->filePath(name) : QString();
}

qint64 Sandbox::busProcessId() const
{
    return mBus.id();
}

bool Sandbox::fail(const QString& text)
{
    mErrorText = text;
    return false;
}

bool Sandbox::makeFolders()
{
    const QString parent = mParentFolder.isNull() ? QDir::tempPath() : mParentFolder;
    mFolder = std::make_unique<QTemporaryDir>(parent + QStringLiteral("/kelsession-XXXXXX"));
    if (!mFolder->isValid())
        return fail(mFolder->errorString());
    const QDir root(mFolder->path());
    for (const char* name : {"home", "config", "data", "cache", "state", "accounts", "providers",
                             "services", "service-types", "applications", "plugins", "extensions",
                             "credentials", "daemon-config", "bus-services"}) {
        if (!root.mkdir(QLatin1String(name)))
            return fail(QStringLiteral("cannot make a folder in %1").arg(root.path()));
    }
    // Programs refuse a runtime folder that others may enter.
    if (!root.mkdir(QStringLiteral("runtime")) ||
        !QFile::setPermissions(path(QStringLiteral("runtime")),
                               QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return fail(QStringLiteral("cannot make the runtime folder in %1").arg(root.path()));
    if (!fitsSocketAddress(path(QStringLiteral("runtime/signond/socket"))))
        return fail(QStringLiteral("%1 is too long for a socket; set TMPDIR to a shorter path")
                        .arg(root.path()));
    return true;
}

bool Sandbox::installFiles()
{
    for (auto plugin = mPlugins.cbegin(); plugin != mPlugins.cend(); ++plugin) {
        const QString module = path(QStringLiteral("plugins/lib%1plugin.so").arg(plugin.key()));
        // A link, because the folder's file system may forbid executing what lies on it.
        if (!QFile::exists(plugin.value()) || !QFile::link(plugin.value(), module))
            return fail(QStringLiteral("cannot find the plugin %1").arg(plugin.value()));
    }
    const auto copyInto = [this](const QStringList& files, const QString& folder) {
        return std::all_of(files.cbegin(), files.cend(), [&](const QString& file) {
            const QString name = QFileInfo(file).fileName();
            return QFile::copy(file, path(folder + QLatin1Char('/') + name)) ||
                   fail(QStringLiteral("cannot copy %1").arg(file));
        });
    };
    if (!copyInto(mProviders, QStringLiteral("providers")) ||
        !copyInto(mServices, QStringLiteral("services")))
        return false;

    if (activationFile(signonDaemonName).isEmpty())
        return fail(QStringLiteral("the sign-on daemon is not installed: package signond"));
    QStringList activatable;
    for (const QString& busName : std::as_const(mActivatableNames)) {
        const QString file = activationFile(busName);
        if (!file.isEmpty())
            activatable.append(file);
    }
    return copyInto(activatable, QStringLiteral("bus-services"));
}

bool Sandbox::writeBusConfiguration()
{
    // Only what was copied can be activated: the user's own services stay out of the session.
    const QString configuration =
        QStringLiteral(
            "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig>\n"
            "  <type>session</type>\n"
            "  <keep_umask/>\n"
            "  <listen>%1</listen>\n"
            "  <auth>EXTERNAL</auth>\n"
            "  <servicedir>%2</servicedir>\n"
            "  <policy context=\"default\">\n"
            "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
            "    <allow eavesdrop=\"true\"/>\n"
            "    <allow own=\"*\"/>\n"
            "  </policy>\n"
            "</busconfig>\n")
            .arg(busAddress(path(QStringLiteral("bus"))),
                 path(QStringLiteral("bus-services")).toHtmlEscaped());
    QSaveFile file(path(QStringLiteral("bus.conf")));
    return (file.open(QIODevice::WriteOnly) && file.write(configuration.toUtf8()) >= 0 &&
            file.commit()) ||
           fail(file.errorString());
}

QProcessEnvironment Sandbox::environment() const
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DBUS_STARTER_ADDRESS", "DBUS_STARTER_BUS_TYPE",
                             "DBUS_SESSION_BUS_PID", "SSO_USE_PEER_BUS", "SSO_DAEMON_TIMEOUT",
                             "SSO_IDENTITY_TIMEOUT", "SSO_AUTHSESSION_TIMEOUT", "AG_DEBUG"})
        variables.remove(QLatin1String(name));
    static const struct
    {
        const char* name;
        const char* place;
    } places[] = {
        {"HOME", "home"},
        {"XDG_CONFIG_HOME", "config"},
        {"XDG_DATA_HOME", "data"},
        {"XDG_CACHE_HOME", "cache"},
        {"XDG_STATE_HOME", "state"},
        {"XDG_RUNTIME_DIR", "runtime"},
        {"ACCOUNTS", "accounts"},
        {"AG_PROVIDERS", "providers"},
        {"AG_SERVICES", "services"},
        {"AG_SERVICE_TYPES", "service-types"},
        {"AG_APPLICATIONS", "applications"},
        {"SSO_PLUGINS_DIR", "plugins"},
        {"SSO_EXTENSIONS_DIR", "extensions"},
        {"SSO_STORAGE_PATH", "credentials"},
        {"SSO_CONFIG_FILE_DIR", "daemon-config"},
    };
    for (const auto& entry : places)
        variables.insert(QLatin1String(entry.name), path(QLatin1String(entry.place)));
    // The system bus as well: the machine's own modem is no part of this session.
    for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"})
        variables.insert(QLatin1String(name), busAddress(path(QStringLiteral("bus"))));
    variables.insert(QStringLiteral("SSO_LOGGING_OUTPUT"), QStringLiteral("stderr"));
    for (auto variable = mVariables.cbegin(); variable != mVariables.cend(); ++variable)
        variable.value().isNull() ? variables.remove(variable.key())
                                  : variables.insert(variable.key(), variable.value());
    return variables;
}

void Sandbox::applyToThisProcess() const
{
    const QProcessEnvironment inside = environment();
    const QStringList outside = QProcessEnvironment::systemEnvironment().keys();
    for (const QString& name : outside) {
        if (!inside.contains(name))
            qunsetenv(name.toLocal8Bit().constData());
    }
    const QStringList names = inside.keys();
    for (const QString& name : names)
        qputenv(name.toLocal8Bit().constData(), inside.value(name).toLocal8Bit());
}

bool Sandbox::startBus()
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    const int output = ::open(QFile::encodeName(logFile()).constData(),
                              O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    const bool started =
        !program.isEmpty() && output >= 0 &&
        mBus.start(program,
                   {QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                    QStringLiteral("--config-file=") + path(QStringLiteral("bus.conf"))},
                   environment(), output);
    if (output >= 0)
        ::close(output);
    return started ? waitForBus()
                   : fail(QStringLiteral("dbus-daemon cannot be started: package dbus"));
}

bool Sandbox::waitForBus()
{
    QElapsedTimer timer;
    timer.start();
    while (!acceptsConnections(path(QStringLiteral("bus")))) {
        if (!mBus.isRunning() || timer.hasExpired(startTimeoutMs)) {
            QFile log(logFile());
            log.open(QIODevice::ReadOnly);
            return fail(QStringLiteral("dbus-daemon did not come up: %1")
                            .arg(QString::fromLocal8Bit(log.readAll())));
        }
        QThread::msleep(pollMs);
    }
    return true;
}

void Sandbox::stop()
{
    mBus.stop();
    if (mFolder)
        waitForFollowers();
    mFolder.reset();
}

/// The daemon ends when its bus does, and a plugin when its daemon does. Both still write into the
/// folder until then, so it is not removed before.
void Sandbox::waitForFollowers()
{
    const QByteArray marker =
        "SSO_STORAGE_PATH=" + QFile::encodeName(path(QStringLiteral("credentials")));
    const QString own = QString::number(getpid());
    QElapsedTimer timer;
    timer.start();
    bool someLeft = true;
    while (someLeft) {
        someLeft = false;
        const bool overdue = timer.hasExpired(stopTimeoutMs);
        const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
        for (const QString& process : processes) {
            const pid_t id = process.toInt();
            if (id <= 1 || process == own || !livesIn(QStringLiteral("/proc/") + process, marker))
                continue;
            QFile name(QStringLiteral("/proc/%1/comm").arg(process));
            if (!name.open(QIODevice::ReadOnly) || !name.readAll().startsWith("signon"))
                continue;
            someLeft = true;
            if (overdue)
                ::kill(id, SIGKILL);
        }
        if (timer.hasExpired(qint64{2} * stopTimeoutMs))
            return;
        if (someLeft)
            QThread::msleep(pollMs);
    }
}

} // namespace KelEmulator
