// SPDX-License-Identifier: LGPL-2.1-or-later
#include "common/signondaemon.h"

#include "common/logging.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <atomic>

namespace KelAccount {

namespace {

std::atomic<void (*)()> daemonFound{nullptr};

// Whoever connects a signal of a name that is not watched yet has Qt ask the bus whose it is, and
// when that bus has just ended, that ends the process (libdbus is given no pending call to wait
// for). The sign-on library does so with each identity and session that it reaches through the bus.
// So the name is watched from the first daemon on, while the bus has just answered.
void keepNameWatched()
{
    static const QObject* const nobody = [] {
        auto* const kept = new QObject; // as long as the process
        QDBusConnection bus = QDBusConnection::sessionBus();
        const bool isWatched =
            bus.isConnected() && bus.connect(signOnDaemonName, QStringLiteral("/"),
                                             QStringLiteral("org.freedesktop.DBus.Peer"),
                                             QStringLiteral("Nothing"), kept, SLOT(deleteLater()));
        if (!isWatched)
            qCDebug(logSignon, "The sign-on daemon's name cannot be watched");
        return kept;
    }();
    Q_UNUSED(nobody)
}

} // namespace

void setSignOnDaemonFound(void (*found)())
{
    daemonFound = found;
}

bool reachesSessionBus()
{
    const bool reached = QDBusConnection::sessionBus().isConnected();
    if (!reached)
        qCCritical(logSignon, "There is no session bus to reach the sign-on daemon through");
    return reached;
}

void ensureSignOnDaemon(QObject* context, int timeoutMs, const std::function<void(bool)>& next)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("StartServiceByName"));
    call.setArguments({QString(signOnDaemonName), 0U});
    auto* const watcher = new QDBusPendingCallWatcher(
        QDBusConnection::sessionBus().asyncCall(call, timeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [next](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const bool running = !finished->isError();
                         if (running) {
                             keepNameWatched();
                             if (const auto found = daemonFound.load())
                                 found();
                         } else {
                             qCCritical(logSignon, "The sign-on daemon cannot be started");
                         }
                         next(running);
                     });
}

void whenSignOnDaemonIsLost(QObject* context, const std::function<void()>& lost)
{
    auto* const watcher =
        new QDBusServiceWatcher(signOnDaemonName, QDBusConnection::sessionBus(),
                                QDBusServiceWatcher::WatchForUnregistration, context);
    QObject::connect(watcher, &QDBusServiceWatcher::serviceUnregistered, context, lost);
}

} // namespace KelAccount
