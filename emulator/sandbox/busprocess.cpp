// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/busprocess.h"

#include <QByteArrayList>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

namespace KelEmulator {

namespace {

constexpr int stopTimeoutMs = 5000;
constexpr int pollMs = 2;

std::vector<char*> pointers(QByteArrayList& texts)
{
    std::vector<char*> list;
    for (QByteArray& text : texts)
        list.push_back(text.data());
    list.push_back(nullptr);
    return list;
}

/// The child's side. Only calls that are safe after a fork of a process with threads.
[[noreturn]] void runChild(char* const* words, char* const* environment, pid_t parent, int input,
                           int output)
{
    // The parent may have ended before it asked for that signal.
    if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || ::getppid() != parent)
        ::_exit(1);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    ::execve(words[0], words, environment);
    ::_exit(1);
}

} // namespace

BusProcess::~BusProcess()
{
    stop();
}

bool BusProcess::start(const QString& configurationFile, const QProcessEnvironment& environment,
                       const QString& logFile)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (program.isEmpty())
        return false;
    QByteArrayList words = {QFile::encodeName(program), "--nofork", "--nopidfile",
                            "--config-file=" + QFile::encodeName(configurationFile)};
    QByteArrayList entries;
    const QStringList settings = environment.toStringList();
    for (const QString& setting : settings)
        entries.append(setting.toLocal8Bit());
    const std::vector<char*> wordList = pointers(words);
    const std::vector<char*> entryList = pointers(entries);

    const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output = ::open(QFile::encodeName(logFile).constData(),
                              O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    const pid_t parent = ::getpid();
    const pid_t child = input < 0 || output < 0 ? -1 : ::fork();
    if (child == 0)
        runChild(wordList.data(), entryList.data(), parent, input, output);
    for (const int descriptor : {input, output}) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
    mId = child > 0 ? child : 0;
    return child > 0;
}

bool BusProcess::isRunning()
{
    if (mId == 0)
        return false;
    const pid_t ended = ::waitpid(mId, nullptr, WNOHANG);
    if (ended == mId || (ended < 0 && errno == ECHILD))
        mId = 0;
    return mId != 0;
}

bool BusProcess::waitForEnd()
{
    QElapsedTimer timer;
    timer.start();
    while (isRunning()) {
        if (timer.hasExpired(stopTimeoutMs))
            return false;
        QThread::msleep(pollMs);
    }
    return true;
}

void BusProcess::stop()
{
    if (!isRunning())
        return;
    ::kill(mId, SIGTERM);
    if (waitForEnd())
        return;
    ::kill(mId, SIGKILL);
    waitForEnd();
}

} // namespace KelEmulator
