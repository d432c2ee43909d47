// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/tagserverlaunch.h"
#include "device/testtagserver.h"
#include "support/literals.h"
#include "support/patience.h"
#include "support/processfacts.h"
#include "support/rows.h"

#include <QByteArrayList>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace KelTest;

namespace {

QByteArray processFile(pid_t process, const char* name)
{
    QFile file("/proc/%1/%2"_s.arg(process).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

quint64 signalMask(pid_t process, const QByteArray& field)
{
    for (const QByteArray& line : processFile(process, "status").split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().toULongLong(nullptr, 16);
    }
    return ~0ULL;
}

quint64 bit(int signal)
{
    return 1ULL << (signal - 1);
}

int endAndReap(pid_t process)
{
    int status = -1;
    if (process > 0 && kill(process, SIGKILL) == 0)
        waitpid(process, &status, 0);
    return status;
}

} // namespace

class TestTagServerLaunch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TagServerAddress::setProgram({});
        setStartedServerOptions({});
    }

    void theServerIsGivenHalfASecond()
    {
        QElapsedTimer timer;
        timer.start();
        const int process = launch_server();
        const qint64 elapsed = timer.elapsed();
        QVERIFY(process > 0);
        QVERIFY2(elapsed >= 500 && elapsed < 1400, QByteArray::number(elapsed));
        QCOMPARE(WTERMSIG(endAndReap(process)), SIGKILL);
    }

    void theServerGetsItsNameAndNoArgument()
    {
        const int process = launch_server();
        const QByteArray commandLine = processFile(process, "cmdline");
        endAndReap(process);
        QCOMPARE(commandLine, QByteArray("obcmngrlite-server\0", 19));
    }

    // Also from an application that has closed its own streams.
    void theServerInheritsNoDescriptor_data()
    {
        const auto row = rows<int>("closed");
        row("all are open", 0);
        row("without an input", 1);
        row("without any stream", 3);
    }
    void theServerInheritsNoDescriptor()
    {
        QFETCH(int, closed);
        const int open = ::open("/dev/zero", O_RDONLY); // not close-on-exec
        QVERIFY(open > 2);
        int kept[3];
        for (int stream = 0; stream < closed; ++stream) {
            kept[stream] = fcntl(stream, F_DUPFD_CLOEXEC, 10);
            close(stream);
        }
        const int process = launch_server();
        for (int stream = 0; stream < closed; ++stream) {
            dup2(kept[stream], stream);
            close(kept[stream]);
        }
        QStringList targets;
        const QDir folder("/proc/%1/fd"_s.arg(process));
        for (const QFileInfo& entry : folder.entryInfoList(QDir::Files | QDir::System))
            targets.append(
                entry.fileName() + QLatin1Char(' ') +
                QString::fromLocal8Bit(QFile::symLinkTarget(entry.filePath()).toLocal8Bit()));
        endAndReap(process);
        close(open);
        QVERIFY(targets.size() >= 4);
        QCOMPARE(targets.mid(0, 3),
                 (QStringList{"0 /dev/null"_s, "1 /dev/null"_s, "2 /dev/null"_s}));
        // The one that is left is its own listener.
        QCOMPARE(targets.size(), 4);
        QVERIFY2(targets.at(3).contains("socket:"_s), qPrintable(targets.at(3)));
    }

    void theServerInheritsNoSignalSettings()
    {
        sigset_t blocked;
        sigset_t before;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGTERM);
        sigaddset(&blocked, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
        // The first of all, and one in between.
        const auto hangUp = signal(SIGHUP, SIG_IGN);
        const auto previous = signal(SIGPIPE, SIG_IGN);
        const int process = launch_server();
        const quint64 serverBlocked = signalMask(process, "SigBlk");
        const quint64 serverIgnored = signalMask(process, "SigIgn");
        endAndReap(process);
        signal(SIGPIPE, previous);
        signal(SIGHUP, hangUp);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        QCOMPARE(serverBlocked & (bit(SIGTERM) | bit(SIGUSR1)), 0ULL);
        QCOMPARE(serverIgnored & (bit(SIGPIPE) | bit(SIGHUP)), 0ULL);
    }

    void theApplicationKeepsItsSignalMask()
    {
        sigset_t blocked;
        sigset_t before;
        sigset_t after;
        sigemptyset(&blocked);
        sigaddset(&blocked, SIGUSR2);
        pthread_sigmask(SIG_BLOCK, &blocked, &before);
        const quint64 maskBefore = signalMask(getpid(), "SigBlk");
        endAndReap(launch_server());
        const quint64 maskAfter = signalMask(getpid(), "SigBlk");
        pthread_sigmask(SIG_SETMASK, &before, &after);
        QVERIFY((maskBefore & bit(SIGUSR2)) != 0);
        QCOMPARE(maskAfter, maskBefore);
    }

    void aServerThatCannotBeExecutedEndsWithStatusZero()
    {
        TagServerAddress::setProgram("/nonexistent/tag-server");
        const int process = launch_server();
        QVERIFY(process > 0);
        int status = -1;
        QCOMPARE(waitpid(process, &status, 0), process);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
    }

    void exitHandlersOfTheApplicationDoNotRunInTheChild()
    {
        static int handlers[2];
        QCOMPARE(pipe2(handlers, O_CLOEXEC | O_NONBLOCK), 0);
        std::atexit([] {
            const char ran = 'x';
            if (write(handlers[1], &ran, 1) != 1)
                std::abort();
        });
        TagServerAddress::setProgram("/nonexistent/tag-server");
        int status = -1;
        const int process = launch_server();
        QCOMPARE(waitpid(process, &status, 0), process);
        char byte = 0;
        QCOMPARE(read(handlers[0], &byte, 1), -1);
        QCOMPARE(errno, EAGAIN);
    }

    void aHostWithBusyThreadsAndManyDescriptorsIsSafe()
    {
        constexpr int busyThreads = 8;
        // Each of these holds the allocator's locks most of the time.
        std::atomic<bool> stop{false};
        std::atomic<int> busy{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < busyThreads; ++i) {
            threads.emplace_back([&stop, &busy] {
                ++busy;
                while (!stop) {
                    void* volatile block = std::malloc(100000);
                    std::free(block);
                }
            });
        }
        // Sanitizers want a descriptor to start a thread, so these run before there is none left.
        while (busy < busyThreads)
            QTest::qSleep(1);

        rlimit before = {};
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit all = before;
        all.rlim_cur = all.rlim_max;
        setrlimit(RLIMIT_NOFILE, &all);
        // All that it may have, where the system does not allow more than this.
        constexpr std::size_t wanted = 20000;
        std::vector<int> descriptors;
        while (descriptors.size() < wanted) {
            const int descriptor = dup(STDIN_FILENO);
            if (descriptor == -1)
                break;
            descriptors.push_back(descriptor);
        }

        QByteArrayList servers;
        for (int i = 0; i < 4; ++i) {
            const int process = launch_server();
            // To be able to look at it.
            for (int spare = 0; spare < 10 && !descriptors.empty(); ++spare) {
                close(descriptors.back());
                descriptors.pop_back();
            }
            // Neither stuck before its start nor ended, and with nothing but its streams and
            // listener. A busy machine has it start later.
            int open = openDescriptors(QString::number(process));
            for (const QDeadlineTimer end(onABusyMachine); open != 4 && !end.hasExpired();
                 open = openDescriptors(QString::number(process)))
                QTest::qSleep(1);
            servers.append(processFile(process, "cmdline") + ' ' + QByteArray::number(open));
            endAndReap(process);
            while (descriptors.size() < wanted) {
                const int descriptor = dup(STDIN_FILENO);
                if (descriptor == -1)
                    break;
                descriptors.push_back(descriptor);
            }
        }
        const std::size_t opened = descriptors.size();
        for (const int descriptor : descriptors)
            close(descriptor);
        setrlimit(RLIMIT_NOFILE, &before);
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
        QVERIFY(opened >= 900);
        const QByteArray good("obcmngrlite-server\0 4", 21);
        QCOMPARE(servers, (QByteArrayList{good, good, good, good}));
    }
};

QTEST_GUILESS_MAIN(TestTagServerLaunch)
#include "tst_tagserverlaunch.moc"
