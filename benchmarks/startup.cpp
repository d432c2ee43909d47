// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts two programs in turns and compares their time and peak memory (medians): with a call each,
// and with an argument, with which they end at once. Run it as: kelaccount-emulator run -- startup
// oneshot_kelaccount oneshot_bare
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
    double cpuMilliseconds;
    long peakKilobytes;
};

double milliseconds(const timeval& time)
{
    return double(time.tv_sec) * 1e3 + double(time.tv_usec) / 1e3;
}

Run runOnce(const char* program, const char* argument)
{
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child < 0)
        std::exit(1);
    if (child == 0) {
        ::execl(program, program, argument, static_cast<char*>(nullptr));
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
    return {std::chrono::duration<double, std::milli>(end - start).count(),
            milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), usage.ru_maxrss};
}

template <class Value>
Value median(std::vector<Value> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

struct Figures
{
    std::vector<double> time;
    std::vector<double> cpu;
    std::vector<long> peak;

    void add(const Run& run)
    {
        time.push_back(run.milliseconds);
        cpu.push_back(run.cpuMilliseconds);
        peak.push_back(run.peakKilobytes);
    }
};

void printTime(const char* what, const std::vector<double>& own, const std::vector<double>& other)
{
    std::printf("| %s | %.1f ms | %.1f ms | %.2f times, %+.1f ms |\n", what, median(own),
                median(other), median(own) / median(other), median(own) - median(other));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: startup PROGRAM PEER\n");
        return 2;
    }
    constexpr int repetitions = 41;
    Figures called[2];
    Figures started[2];
    for (int i = 0; i < repetitions; ++i) {
        for (int which = 0; which < 2; ++which) {
            called[which].add(runOnce(argv[1 + which], nullptr));
            started[which].add(runOnce(argv[1 + which], "start"));
        }
    }
    const auto name = [](const char* path) {
        const char* const slash = std::strrchr(path, '/');
        return slash ? slash + 1 : path;
    };
    std::printf("| | %s | %s | |\n|---|---:|---:|---|\n", name(argv[1]), name(argv[2]));
    printTime("start to answer", called[0].time, called[1].time);
    printTime("processor time of that", called[0].cpu, called[1].cpu);
    printTime("processor time of the start alone", started[0].cpu, started[1].cpu);
    std::printf("| peak memory | %ld KiB | %ld KiB | %+ld KiB |\n", median(called[0].peak),
                median(called[1].peak), median(called[0].peak) - median(called[1].peak));
    return 0;
}
