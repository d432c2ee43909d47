// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts two programs in turns and compares their wall time and peak memory (medians).
// Run it as: kelaccount-emulator run -- startup oneshot_kelaccount oneshot_bare
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

struct Run
{
    double milliseconds;
    long peakKilobytes;
};

Run runOnce(const char* program)
{
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child < 0)
        std::exit(1);
    if (child == 0) {
        ::execl(program, program, static_cast<char*>(nullptr));
        ::_exit(127);
    }
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::fprintf(stderr, "startup: %s failed; run it inside kelaccount-emulator run\n",
                     program);
        std::exit(1);
    }
    const auto end = std::chrono::steady_clock::now();
    return {std::chrono::duration<double, std::milli>(end - start).count(), usage.ru_maxrss};
}

template <class Value>
Value median(std::vector<Value> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: startup PROGRAM PEER\n");
        return 2;
    }
    constexpr int repetitions = 41;
    std::vector<double> time[2];
    std::vector<long> peak[2];
    for (int i = 0; i < repetitions; ++i) {
        for (int which = 0; which < 2; ++which) {
            const Run run = runOnce(argv[1 + which]);
            time[which].push_back(run.milliseconds);
            peak[which].push_back(run.peakKilobytes);
        }
    }
    const auto name = [](const char* path) {
        const char* const slash = std::strrchr(path, '/');
        return slash ? slash + 1 : path;
    };
    std::printf("| | %s | %s | |\n|---|---:|---:|---|\n", name(argv[1]), name(argv[2]));
    std::printf("| start to answer | %.1f ms | %.1f ms | %.2f times |\n", median(time[0]),
                median(time[1]), median(time[0]) / median(time[1]));
    std::printf("| peak memory | %ld KiB | %ld KiB | %+ld KiB |\n", median(peak[0]),
                median(peak[1]), median(peak[0]) - median(peak[1]));
    return 0;
}
