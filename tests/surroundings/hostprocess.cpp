// SPDX-License-Identifier: LGPL-2.1-or-later
#include "surroundings/hostprocess.h"
#include "support/literals.h"

#include <QDir>
#include <QLocale>
#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ; // NOLINT

namespace KelTest {

namespace {

constexpr int endedWith = 42;

QtMessageHandler previousHandler = nullptr;
std::atomic<int> childrenEnded{0};

QStringList& log()
{
    static QStringList lines;
    return lines;
}

void takeMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    log().append(text);
    if (previousHandler)
        previousHandler(type, context, text);
}

/// Counts, and collects nobody: the children that a library made are the library's.
void onChildEnded(int /*signal*/, siginfo_t* /*info*/, void* /*context*/)
{
    ++childrenEnded;
}

QByteArray address(const void* pointer)
{
    return QByteArray::number(reinterpret_cast<quintptr>(pointer), 16);
}

QByteArray disposition(int signal)
{
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    return (action.sa_flags & SA_SIGINFO)
               ? address(reinterpret_cast<const void*>(action.sa_sigaction))
               : address(reinterpret_cast<const void*>(action.sa_handler));
}

QByteArray blockedSignals()
{
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    QByteArray numbers;
    for (int number = 1; number < NSIG; ++number) {
        if (::sigismember(&blocked, number) == 1)
            numbers += QByteArray::number(number) + ' ';
    }
    return numbers;
}

QByteArray environment()
{
    QByteArrayList all;
    for (char** variable = environ; *variable; ++variable)
        all.append(*variable);
    std::sort(all.begin(), all.end());
    return all.join('\n');
}

QByteArray fileMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return QByteArray::number(mask, 8);
}

QByteArray descriptorLimit()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    return QByteArray::number(quint64(limit.rlim_cur));
}

QByteArray messageHandler()
{
    const QtMessageHandler installed = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(installed);
    return address(reinterpret_cast<const void*>(installed));
}

/// As it is, without collecting it.
QByteArray stateOfChild(pid_t child)
{
    siginfo_t info = {};
    const int options = WEXITED | WNOHANG | WNOWAIT;
    if (child <= 0 || ::waitid(P_PID, id_t(child), &info, options) != 0)
        return "is nobody's";
    return info.si_pid == 0 ? "runs"_ba : "ended with " + QByteArray::number(info.si_status);
}

} // namespace

HostProcess::~HostProcess()
{
    leave();
}

bool HostProcess::settle()
{
    struct sigaction action = {};
    action.sa_sigaction = onChildEnded;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    previousHandler = qInstallMessageHandler(takeMessage);
    if (::sigaction(SIGCHLD, &action, nullptr) != 0)
        return false;
    mLasting = ::fork();
    if (mLasting == 0) {
        for (;;)
            ::pause();
    }
    mEnded = ::fork();
    if (mEnded == 0)
        ::_exit(endedWith);
    siginfo_t info = {};
    if (mLasting < 0 || mEnded < 0 || ::waitid(P_PID, id_t(mEnded), &info, WEXITED | WNOWAIT) != 0)
        return false;
    mState = state();
    return true;
}

QStringList HostProcess::messages()
{
    return log();
}

QStringList HostProcess::whatChanged() const
{
    const QMap<QString, QByteArray> now = state();
    QStringList changes;
    for (auto it = mState.cbegin(); it != mState.cend(); ++it) {
        if (now.value(it.key()) != it.value())
            changes.append(
                "%1: was '%2', is '%3'"_s.arg(it.key(), QString::fromLocal8Bit(it.value()),
                                              QString::fromLocal8Bit(now.value(it.key()))));
    }
    return changes;
}

void HostProcess::leave()
{
    if (mLasting > 0) {
        ::kill(mLasting, SIGKILL);
        ::waitpid(mLasting, nullptr, 0);
        mLasting = 0;
    }
    if (mEnded > 0) {
        ::waitpid(mEnded, nullptr, 0);
        mEnded = 0;
    }
    if (previousHandler) {
        qInstallMessageHandler(previousHandler);
        previousHandler = nullptr;
        std::signal(SIGCHLD, SIG_DFL);
    }
}

int HostProcess::run(const QByteArrayList& command)
{
    std::vector<char*> arguments;
    for (const QByteArray& word : command)
        arguments.push_back(const_cast<char*>(word.constData()));
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0)
        return -1;
    int status = 0;
    while (::waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

QMap<QString, QByteArray> HostProcess::state() const
{
    return {
        {"the child that lasts"_s, stateOfChild(mLasting)},
        {"the child that ended"_s, stateOfChild(mEnded)},
        {"handler of SIGCHLD"_s, disposition(SIGCHLD)},
        {"handler of SIGPIPE"_s, disposition(SIGPIPE)},
        {"handler of SIGTERM"_s, disposition(SIGTERM)},
        {"handler of SIGALRM"_s, disposition(SIGALRM)},
        {"blocked signals"_s, blockedSignals()},
        {"message handler"_s, messageHandler()},
        {"environment"_s, environment()},
        {"folder"_s, QDir::currentPath().toLocal8Bit()},
        {"umask"_s, fileMode()},
        {"limit of descriptors"_s, descriptorLimit()},
        {"locale of C"_s, std::setlocale(LC_ALL, nullptr)},
        {"locale of Qt"_s, QLocale().name().toLatin1()},
        {"parent"_s, QByteArray::number(::getppid())},
    };
}

} // namespace KelTest
