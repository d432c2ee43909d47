// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privateconfiguration.h"
#include "support/literals.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

namespace {

constexpr int patienceMs = 20000;

bool onOwnBus(const QStringList& command)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start("dbus-run-session"_s, QStringList{"--"_s} + command);
    return process.waitForFinished(patienceMs) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

bool KelTest::PrivateConfiguration::enter()
{
    for (const char* program : {"dbus-run-session", "dconf"}) {
        if (QStandardPaths::findExecutable(QLatin1String(program)).isEmpty())
            return false;
    }
    QFile profile(mFolder.filePath("profile"_s));
    const QString runtime = mFolder.filePath("runtime"_s);
    if (!profile.open(QIODevice::WriteOnly) || profile.write("user-db:user\n") == -1 ||
        !QDir().mkpath(runtime))
        return false;
    profile.close();
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(mFolder.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(mFolder.filePath("config"_s)));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(mFolder.filePath("cache"_s)));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
    qputenv("DCONF_PROFILE", QFile::encodeName(profile.fileName()));
    return true;
}

bool KelTest::PrivateConfiguration::write(const QString& key, const QByteArray& value)
{
    return onOwnBus({"dconf"_s, "write"_s, key, QString::fromUtf8(value)});
}

bool KelTest::PrivateConfiguration::clear(const QString& key)
{
    return onOwnBus({"dconf"_s, "reset"_s, key});
}
