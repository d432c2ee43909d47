// SPDX-License-Identifier: LGPL-2.1-or-later
#include "testplugin.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <unistd.h>

using KelTest::PluginRequest;
using KelTest::PluginScript;
using KelTest::PluginStep;

TestPlugin::TestPlugin() : mFolder(QFile::decodeName(qgetenv(KelTest::pluginFolderVariable)))
{
}

QString TestPlugin::type() const
{
    return QStringLiteral("zorauth");
}

QStringList TestPlugin::mechanisms() const
{
    return {QStringLiteral("initialise"), QStringLiteral("signIn"), QStringLiteral("token"),
            QStringLiteral("close")};
}

QString TestPlugin::file(const char* name) const
{
    return mFolder + QLatin1Char('/') + QLatin1String(name);
}

void TestPlugin::writeDown(const PluginRequest& request)
{
    QByteArray entry;
    QDataStream stream(&entry, QIODevice::WriteOnly);
    stream << request;
    // One write, so that a reader sees the whole entry or nothing of it.
    QFile requests(file("requests"));
    if (requests.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        requests.write(entry);
}

PluginStep TestPlugin::nextStep(const QString& mechanism) const
{
    QFile scriptFile(file("script"));
    if (!scriptFile.open(QIODevice::ReadOnly))
        return {};
    PluginScript script;
    QDataStream stream(&scriptFile);
    stream >> script;

    QList<PluginStep> steps;
    for (const PluginStep& step : std::as_const(script.steps)) {
        if (step.mechanism.isEmpty() || step.mechanism == mechanism)
            steps.append(step);
    }
    if (steps.size() < 2)
        return steps.value(0);

    // Counted from the file and not from memory: the process may have died in between.
    const QList<PluginRequest> entries = KelTest::readRequests(file("requests"));
    int before = 0;
    for (int i = script.firstEntry; i < entries.size(); ++i)
        before += !entries.at(i).cancelled && entries.at(i).mechanism == mechanism ? 1 : 0;
    return steps.at(qMin(before, steps.size() - 1));
}

void TestPlugin::process(const SignOn::SessionData& data, const QString& mechanism)
{
    const PluginStep step = nextStep(mechanism);
    writeDown({mechanism, data.toMap(), QCoreApplication::applicationPid(), false, mBusy});
    mBusy = true;
    mIgnoreCancel = step.action == PluginStep::IgnoreCancel;
    if (step.action == PluginStep::Hang)
        return;
    const int request = ++mRequest;
    QTimer::singleShot(step.delayMs, this, [this, step, request] {
        if (request != mRequest || !mBusy)
            return;
        mBusy = false;
        if (step.action == PluginStep::Die)
            _exit(1);
        else if (step.action == PluginStep::Err)
            Q_EMIT error(SignOn::Error(step.code, QStringLiteral("as the test wants it")));
        else
            Q_EMIT result(SignOn::SessionData(step.data));
    });
}

void TestPlugin::cancel()
{
    writeDown({QString(), QVariantMap(), QCoreApplication::applicationPid(), true, false});
    if (mIgnoreCancel || !mBusy)
        return;
    mBusy = false;
    Q_EMIT error(SignOn::Error(SignOn::Error::SessionCanceled, QStringLiteral("cancelled")));
}

SIGNON_DECL_AUTH_PLUGIN(TestPlugin)
