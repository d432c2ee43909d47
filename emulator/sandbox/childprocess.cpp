// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/childprocess.h"

#include "sandbox/descriptors.h"

#include <QByteArrayList>
#include <QElapsedTimer>
#include <QFile>
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
                           int output, int errors)
{
    // The parent may have ended before it asked for that signal.
    if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || ::getppid() != parent)
        ::_exit(1);
    // A key on the terminal is for the command, which may go on and still need this one.
    ::setpgid(0, 0);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    closeDescriptorsFrom(STDERR_FILENO + 1);
    ::execve(words[0], words, environment);
    ::_exit(1);
}

} // namespace

ChildProcess::~ChildProcess()
{
    stop();
}

bool ChildProcess::start(const QString& program, const QStringList& arguments,
                         const QProcessEnvironment& environment, int output, int errors)
{
    QByteArrayList words = {QFile::encodeName(program)};
    for (const QString& argument : arguments)
        words.append(argument.toLocal8Bit());
    QByteArrayList entries;
    const QStringList settings = environment.toStringList();
    for (const QString& setting : settings)
        entries.append(setting.toLocal8Bit());
    const std::vector<char*> wordList = pointers(words);
    const std::vector<char*> entryList = pointers(entries);

    const int input = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t parent = ::getpid();
    const pid_t child = input < 0 ? -1 : ::fork();
    if (child == 0)
        runChild(wordList.data(), entryList.data(), parent, input, output,
                 errors < 0 ? output : errors);
    if (input >= 0)
        ::close(input);
    mId = child > 0 ? child : 0;
    return child > 0;
}

bool ChildProcess::isRunning()
{
    if (mId == 0)
        return false;
    const pid_t ended = ::waitpid(mId, nullptr, WNOHANG);
    if (ended == mId || (ended < 0 && errno == ECHILD))
        mId = 0;
    return mId != 0;
}

bool ChildProcess::waitForEnd()
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

void ChildProcess::stop()
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
