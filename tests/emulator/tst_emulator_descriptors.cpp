// SPDX-License-Identifier: LGPL-2.1-or-later
#include "sandbox/descriptors.h"

#include <QtTest>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

using namespace KelEmulator;

namespace {

using Closing = void (*)(unsigned);

bool isOpen(int number)
{
    return ::fcntl(number, F_GETFD) >= 0 || errno != EBADF;
}

/// How many descriptors the child had wrong, or -1.
int wrongInAChild(const std::vector<int>& opened, Closing closing)
{
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr int first = STDERR_FILENO + 1;
        closing(first);
        int wrong = 0;
        for (int number = 0; number < first; ++number)
            wrong += isOpen(number) ? 0 : 1;
        for (const int number : opened)
            wrong += isOpen(number) ? 1 : 0;
        // What it listed them by is gone, too.
        for (int number = first; number < first + 64; ++number)
            wrong += isOpen(number) ? 1 : 0;
        ::_exit(qMin(wrong, 100));
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

} // namespace

Q_DECLARE_METATYPE(Closing)

/// What a child inherits of the emulator.
class EmulatorDescriptorsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsInheritedButTheStandardStreams_data()
    {
        QTest::addColumn<Closing>("closing");
        QTest::newRow("as the kernel can") << Closing(closeDescriptorsFrom);
        QTest::newRow("as an older kernel lists them") << Closing(closeListedDescriptorsFrom);
    }
    void nothingIsInheritedButTheStandardStreams()
    {
        QFETCH(Closing, closing);
        // More than are listed at once, and the highest that may be.
        constexpr int many = 300;
        rlimit limit{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
        QVERIFY(limit.rlim_cur > many + 100);
        const int highest = static_cast<int>(qMin<rlim_t>(limit.rlim_cur, 1000000)) - 1;
        std::vector<int> opened;
        for (int count = 0; count < many; ++count)
            opened.push_back(::open("/dev/null", O_RDONLY));
        opened.push_back(::fcntl(opened.front(), F_DUPFD, highest));
        const bool allAreOpen = std::all_of(opened.begin(), opened.end(), isOpen);
        const int wrong = wrongInAChild(opened, closing);
        for (const int number : opened)
            ::close(number);
        QVERIFY(allAreOpen);
        QCOMPARE(wrong, 0);
    }
};

QTEST_GUILESS_MAIN(EmulatorDescriptorsTest)

#include "tst_emulator_descriptors.moc"
