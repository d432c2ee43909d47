// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/sessionprocesses.h"

#include "support/daemoncontrol.h"
#include "support/literals.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <csignal>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr int patienceMs = 10000;

/// Of this session: whose names, with the end of line behind them, begin with that.
QList<pid_t> processesNamed(const char* beginning)
{
    QList<pid_t> found;
    const QByteArray marker = "SSO_STORAGE_PATH=" + qgetenv("SSO_STORAGE_PATH");
    const QStringList all = QDir("/proc"_s).entryList(QDir::Dirs);
    for (const QString& one : all) {
        const pid_t id = one.toInt();
        QFile name("/proc/%1/comm"_s.arg(one));
        QFile environment("/proc/%1/environ"_s.arg(one));
        if (id > 1 && name.open(QIODevice::ReadOnly) && name.readAll().startsWith(beginning) &&
            environment.open(QIODevice::ReadOnly) &&
            environment.readAll().split('\0').contains(marker))
            found.append(id);
    }
    return found;
}

} // namespace

QString variable(const char* name)
{
    return qEnvironmentVariable(name);
}

QString sessionFolder()
{
    return variable("SSO_STORAGE_PATH") + "/.."_s;
}

QList<pid_t> daemons()
{
    return processesNamed("signond\n");
}

QList<pid_t> plugins()
{
    return processesNamed("signonplugin");
}

QList<pid_t> buses()
{
    return processesNamed("dbus-daemon\n");
}

void endSleepers()
{
    signalAll(processesNamed("sleep\n"), SIGKILL);
}

void signalAll(const QList<pid_t>& processes, int signal)
{
    for (const pid_t process : processes) {
        if (process > 1)
            ::kill(process, signal);
    }
}

void waitUntilGone(const QList<pid_t>& processes, bool isEnoughToEnd)
{
    QElapsedTimer since;
    since.start();
    const auto isThere = [isEnoughToEnd](pid_t process) {
        QFile status("/proc/%1/stat"_s.arg(process));
        return status.open(QIODevice::ReadOnly) &&
               (!status.readAll().contains(") Z ") || !isEnoughToEnd);
    };
    while (std::any_of(processes.begin(), processes.end(), isThere) && since.elapsed() < patienceMs)
        QThread::msleep(1);
}

void endDaemon()
{
    const QList<pid_t> all = daemons() + plugins();
    signalAll(all, SIGCONT);
    signalAll(all, SIGKILL);
    waitUntilGone(all);
    DaemonControl::letThisProgramHear();
}

void endMadeDaemon()
{
    DaemonControl::start();
    endDaemon();
}

void endPlugins()
{
    const QList<pid_t> all = plugins();
    signalAll(all, SIGKILL);
    waitUntilGone(all, false);
}

} // namespace Matrix
