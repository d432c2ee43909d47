// SPDX-License-Identifier: LGPL-2.1-or-later
#include "support/sessionsandbox.h"

#include "support/literals.h"
#include "support/slowed.h"
#include "support/sqlitechange.h"
#include "support/sqlitereader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace KelTest {

bool waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(slowed(timeoutMs)))
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QTest::qSleep(1);
    }
    return true;
}

SessionSandbox::SessionSandbox()
{
    mSession.setPlugin("zorauth"_s, QStringLiteral(KELACCOUNT_TEST_PLUGIN));
    // The daemon has each answered request written out to disk; in memory that is ten times faster.
    const QString memory = "/dev/shm"_s;
    if (QFileInfo(memory).isWritable())
        mSession.setParentFolder(memory);
}

bool SessionSandbox::start()
{
    if (!mSession.start()) {
        std::fprintf(stderr, "no session for the test: %s\n", qPrintable(mSession.errorText()));
        return false;
    }
    mSession.applyToThisProcess();
    script({});
    return true;
}

QString SessionSandbox::pluginFile(const char* name) const
{
    return mSession.path("home/"_s + QLatin1String(name));
}

void SessionSandbox::script(const QList<PluginStep>& steps)
{
    mFirstEntry = readRequests(pluginFile("requests")).size();
    QSaveFile file(pluginFile("script")); // the plugin never sees half of it
    if (!file.open(QIODevice::WriteOnly))
        qFatal("the plugin's script cannot be written");
    QDataStream stream(&file);
    stream << PluginScript{mFirstEntry, steps};
    file.commit();
}

QList<PluginRequest> SessionSandbox::entries() const
{
    return readRequests(pluginFile("requests")).mid(mFirstEntry);
}

QList<PluginRequest> SessionSandbox::requests() const
{
    QList<PluginRequest> since;
    const QList<PluginRequest> all = entries();
    std::copy_if(all.cbegin(), all.cend(), std::back_inserter(since),
                 [](const PluginRequest& entry) { return !entry.cancelled; });
    return since;
}

QStringList SessionSandbox::mechanisms() const
{
    QStringList names;
    const QList<PluginRequest> since = requests();
    for (const PluginRequest& request : since)
        names.append(request.mechanism);
    return names;
}

int SessionSandbox::cancellations() const
{
    return entries().size() - requests().size();
}

bool SessionSandbox::waitForRequests(int count, int timeoutMs) const
{
    return waitUntil([&] { return requests().size() >= count; }, timeoutMs);
}

pid_t SessionSandbox::pluginProcessId() const
{
    const QList<PluginRequest> since = requests();
    return since.isEmpty() ? 0 : static_cast<pid_t>(since.last().processId);
}

void SessionSandbox::setDaemonInstalled(bool installed) const
{
    DaemonControl::setInstalled(mSession.path(), installed);
}

bool SessionSandbox::quickenDaemon() const
{
    return sqliteChange(mSession.path("credentials/signon.db"_s),
                        "CREATE INDEX IF NOT EXISTS quicker ON ACL (identity_id)"_s);
}

QList<QVariantList> SessionSandbox::credentials(const QString& query) const
{
    return sqliteRows(mSession.path("credentials/signon.db"_s), query);
}

QList<QVariantList> SessionSandbox::secrets(const QString& query) const
{
    return sqliteRows(mSession.path("credentials/signon-secrets.db"_s), query);
}

QList<QVariantList> SessionSandbox::accounts(const QString& query) const
{
    return sqliteRows(mSession.path("accounts/accounts.db"_s), query);
}

} // namespace KelTest
