// SPDX-License-Identifier: LGPL-2.1-or-later
#include "platform/privateconfiguration.h"

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
    process.start(QStringLiteral("dbus-run-session"), QStringList{QStringLiteral("--")} + command);
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
    QFile profile(mFolder.filePath(QStringLiteral("profile")));
    const QString runtime = mFolder.filePath(QStringLiteral("runtime"));
    if (!profile.open(QIODevice::WriteOnly) || profile.write("user-db:user\n") == -1 ||
        !QDir().mkpath(runtime))
        return false;
    profile.close();
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("HOME", QFile::encodeName(mFolder.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(mFolder.filePath(QStringLiteral("config"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(mFolder.filePath(QStringLiteral("cache"))));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
    qputenv("DCONF_PROFILE", QFile::encodeName(profile.fileName()));
    return true;
}

bool KelTest::PrivateConfiguration::write(const QString& key, const QByteArray& value)
{
    return onOwnBus(
        {QStringLiteral("dconf"), QStringLiteral("write"), key, QString::fromUtf8(value)});
}

bool KelTest::PrivateConfiguration::clear(const QString& key)
{
    return onOwnBus({QStringLiteral("dconf"), QStringLiteral("reset"), key});
}
