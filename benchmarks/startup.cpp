// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts two programs in turns and compares their time and memory (medians): with a call each, and
// with an argument, with which they end at once. Of one call each it lists the libraries that are
// loaded, and counts the system calls where strace is there. Run it as: kelaccount-emulator run --
// startup oneshot_kelaccount oneshot_bare oneshot_request
// The last, if any, prints the request that the second posts. With --check first, what does not
// depend on the machine is held against what was reached.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// What was reached, with a little room: a library more is noticed.
constexpr long mostPeakKilobytes = 1280;
constexpr double mostPageFaults = 1.06; // times the peer's
constexpr int mostLibraries = 3;        // that the peer has not

struct Run
{
    double milliseconds;
    double cpuMilliseconds;
    long peakKilobytes;
    long pageFaults;
};

double milliseconds(const timeval& time)
{
    return double(time.tv_sec) * 1e3 + double(time.tv_usec) / 1e3;
}

[[noreturn]] void fail(const std::string& program)
{
    std::fprintf(stderr, "startup: %s failed; run it inside kelaccount-emulator run\n",
                 program.c_str());
    std::exit(1);
}

using Command = std::vector<std::string>;

// The status as wait() has it.
int start(const Command& command, rusage& usage)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child < 0)
        std::exit(1);
    if (child == 0) {
        ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    int status = 0;
    ::wait4(child, &status, 0, &usage);
    return status;
}

Run runOnce(const Command& command)
{
    rusage usage{};
    const auto begin = std::chrono::steady_clock::now();
    if (start(command, usage) != 0)
        fail(command.front());
    const auto end = std::chrono::steady_clock::now();
    return {std::chrono::duration<double, std::milli>(end - begin).count(),
            milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), usage.ru_maxrss,
            usage.ru_minflt};
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
    std::vector<long> pageFaults;

    void add(const Run& run)
    {
        time.push_back(run.milliseconds);
        cpu.push_back(run.cpuMilliseconds);
        peak.push_back(run.peakKilobytes);
        pageFaults.push_back(run.pageFaults);
    }
};

void printTime(const char* what, const std::vector<double>& own, const std::vector<double>& other)
{
    std::printf("| %s | %.1f ms | %.1f ms | %.2f times, %+.1f ms |\n", what, median(own),
                median(other), median(own) / median(other), median(own) - median(other));
}

void printCount(const char* what, long own, long other)
{
    std::printf("| %s | %ld | %ld | %.2f times, %+ld |\n", what, own, other,
                double(own) / double(other), own - other);
}

class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string name = fs::temp_directory_path() / "startup-XXXXXX";
        if (!::mkdtemp(name.data()))
            std::exit(1);
        mPath = name;
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        fs::remove_all(mPath, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const fs::path& path() const { return mPath; }

private:
    fs::path mPath;
};

// By what the loader tells: also of what is loaded on the way.
std::set<std::string> librariesOf(const std::string& program)
{
    const ScratchFolder folder;
    ::setenv("LD_DEBUG", "files", 1);
    ::setenv("LD_DEBUG_OUTPUT", (folder.path() / "loader").c_str(), 1);
    runOnce({program});
    ::unsetenv("LD_DEBUG");
    ::unsetenv("LD_DEBUG_OUTPUT");
    std::set<std::string> libraries;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            const std::string mark = "calling init: ";
            const std::size_t found = line.find(mark);
            std::error_code unknown;
            if (found != std::string::npos) // by the file, which has several names
                libraries.insert(
                    fs::canonical(line.substr(found + mark.size()), unknown).filename());
        }
    }
    return libraries;
}

// 0 where there is no strace, or where it may not look. Who waits for a lock is the machine's
// affair.
long systemCallsOf(const std::string& program)
{
    const ScratchFolder folder;
    const std::string counts = folder.path() / "counts";
    rusage usage{};
    if (start({"strace", "-f", "-c", "-U", "name,calls", "-o", counts, program}, usage) != 0)
        return 0;
    long sum = 0;
    std::ifstream file(counts);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string name;
        long calls = 0;
        if (words >> name >> calls && name != "total" && name != "futex")
            sum += calls;
    }
    return sum;
}

// For who posts it, in the environment.
void provideRequest(const std::string& program)
{
    FILE* const output = ::popen(program.c_str(), "r");
    if (!output)
        fail(program);
    std::string request;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof part, output))
        request.append(part, size);
    if (::pclose(output) != 0 || request.empty())
        fail(program);
    ::setenv("ONESHOT_REQUEST", request.c_str(), 1);
}

/// What is measured of the programs, the own one first.
struct Measured
{
    Figures called[2];
    Figures started[2];
    std::set<std::string> libraries[2];
    long systemCalls[2] = {};

    std::vector<std::string> librariesMore() const
    {
        std::vector<std::string> more;
        std::set_difference(libraries[0].begin(), libraries[0].end(), libraries[1].begin(),
                            libraries[1].end(), std::back_inserter(more));
        return more;
    }
    long peak(int which) const { return median(called[which].peak); }
    long pageFaults(int which) const { return median(called[which].pageFaults); }
};

Measured measure(const std::string (&programs)[2], const std::string& request, int repetitions)
{
    Measured measured;
    const auto prepare = [&request] {
        if (!request.empty())
            provideRequest(request);
    };
    for (int i = 0; i < repetitions; ++i) {
        for (int which = 0; which < 2; ++which) {
            prepare();
            measured.called[which].add(runOnce({programs[which]}));
            measured.started[which].add(runOnce({programs[which], "start"}));
        }
    }
    for (int which = 0; which < 2; ++which) {
        prepare();
        measured.libraries[which] = librariesOf(programs[which]);
        prepare();
        measured.systemCalls[which] = systemCallsOf(programs[which]);
    }
    return measured;
}

void print(const std::string (&programs)[2], const Measured& measured)
{
    const auto name = [](const fs::path& path) { return path.filename().string(); };
    std::printf("| | %s | %s | |\n|---|---:|---:|---|\n", name(programs[0]).c_str(),
                name(programs[1]).c_str());
    const Figures* const called = measured.called;
    const Figures* const started = measured.started;
    printTime("start to answer", called[0].time, called[1].time);
    printTime("processor time of that", called[0].cpu, called[1].cpu);
    printTime("processor time of the start alone", started[0].cpu, started[1].cpu);
    std::printf("| peak memory | %ld KiB | %ld KiB | %+ld KiB |\n", measured.peak(0),
                measured.peak(1), measured.peak(0) - measured.peak(1));
    printCount("page faults", measured.pageFaults(0), measured.pageFaults(1));
    if (measured.systemCalls[0] > 0 && measured.systemCalls[1] > 0)
        printCount("system calls", measured.systemCalls[0], measured.systemCalls[1]);
    std::printf("| libraries | %zu | %zu |", measured.libraries[0].size(),
                measured.libraries[1].size());
    for (const std::string& library : measured.librariesMore())
        std::printf(" %s", library.c_str());
    std::printf(" |\n");
}

bool isWithin(const char* what, double own, double most)
{
    if (own > most)
        std::printf("too much: %s, %.2f, at most %.2f\n", what, own, most);
    return own <= most;
}

bool areGoalsReached(const Measured& measured)
{
    const bool reached[] = {
        isWithin("KiB of peak memory more", double(measured.peak(0) - measured.peak(1)),
                 mostPeakKilobytes),
        isWithin("times the page faults",
                 double(measured.pageFaults(0)) / double(measured.pageFaults(1)), mostPageFaults),
        isWithin("libraries more", double(measured.librariesMore().size()), mostLibraries),
    };
    return std::all_of(std::begin(reached), std::end(reached), [](bool is) { return is; });
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool checks = !arguments.empty() && arguments.front() == "--check";
    if (checks)
        arguments.erase(arguments.begin());
    if (arguments.size() != 2 && arguments.size() != 3) {
        std::fprintf(stderr, "usage: startup [--check] PROGRAM PEER [REQUEST]\n");
        return 2;
    }
    arguments.resize(3);
    const std::string programs[] = {arguments[0], arguments[1]};
    const Measured measured = measure(programs, arguments[2], checks ? 11 : 41);
    print(programs, measured);
    return checks && !areGoalsReached(measured) ? 1 : 0;
}
