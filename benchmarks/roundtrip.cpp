// SPDX-License-Identifier: LGPL-2.1-or-later
// Round trips to the emulator over TLS and its tunnel, in turns, in one process: this library
// beside a QNetworkAccessManager with and without Nagle's algorithm. Run it as: kelaccount-emulator
// run --scenario returning-user -- roundtrip [--count WAY CALLS] With --count it makes so many warm
// calls one after the other, WAY being "library" or "manager", and prints how often each allocated
// memory; for those who count something else about them.
#include "warmcalls.h"

#include "rest/transport/serviceconnections.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>
#include <numeric>

using namespace WarmCalls;
using KelRestHandler::ServiceConnections;

namespace {

struct Figures
{
    std::vector<double> p50;
    std::vector<double> mean;
    std::vector<double> cpu; ///< microseconds a call, one after the other
    std::vector<double> rate;
    std::vector<double> cpuAtOnce;
};

using Make = std::unique_ptr<Caller> (*)();

// The first calls connect.
void warmUp(Caller& caller)
{
    atOnce(caller, 12, 24);
    oneByOne(caller, 5);
}

void measure(Figures& figures, Make make, int sequential, int parallel)
{
    const std::unique_ptr<Caller> caller = make();
    warmUp(*caller);
    caller->provideFor(sequential);
    double before = cpuSeconds();
    const std::vector<double> times = oneByOne(*caller, sequential);
    figures.cpu.push_back((cpuSeconds() - before) * 1e6 / sequential);
    figures.p50.push_back(median(times));
    figures.mean.push_back(std::accumulate(times.begin(), times.end(), 0.0) / sequential);
    caller->provideFor(parallel);
    before = cpuSeconds();
    figures.rate.push_back(atOnce(*caller, 64, parallel));
    figures.cpuAtOnce.push_back((cpuSeconds() - before) * 1e6 / parallel);
}

void printRow(const char* name, const std::vector<double>& own, const std::vector<double>& other,
              const char* unit)
{
    std::printf("| %s | %.4g %s | %.4g %s | %.2f |\n", name, median(own), unit, median(other), unit,
                median(own) / median(other));
}

void printTable(const char* peer, const Figures& own, const Figures& other)
{
    std::printf("\n| | this library | %s | ratio |\n|---|---:|---:|---:|\n", peer);
    printRow("p50 of a warm call", own.p50, other.p50, "ms");
    printRow("mean of a warm call", own.mean, other.mean, "ms");
    printRow("client processor time of a warm call", own.cpu, other.cpu, "us");
    printRow("64 calls at once", own.rate, other.rate, "/s");
    printRow("client processor time of each of these", own.cpuAtOnce, other.cpuAtOnce, "us");
}

// Each call with TCP, CONNECT and TLS before it, as after a pause.
void printFresh()
{
    constexpr int calls = 100;
    const std::unique_ptr<Caller> caller = libraryWithDocument();
    warmUp(*caller);
    const double warm = median(oneByOne(*caller, calls));
    constexpr int always = -1;
    ServiceConnections::setIdleMilliseconds(always);
    const double fresh = median(oneByOne(*caller, calls));
    ServiceConnections::setIdleMilliseconds(ServiceConnections::idleMilliseconds);
    std::printf("\np50 of a call on a kept connection: %.3g ms, on a fresh one: %.3g ms\n", warm,
                fresh);
}

int count(const char* way, int calls, int width)
{
    const auto is = [way](const char* name) { return std::strcmp(way, name) == 0; };
    const Make make = is("library") ? library : is("handwritten") ? handWritten : promptManager;
    const std::unique_ptr<Caller> caller = make();
    // As much for few calls as for many, so that it is not in the difference.
    constexpr int most = 1000;
    caller->provideFor(most);
    constexpr int settled = 300;
    atOnce(*caller, width, settled);
    const long before = allocations();
    atOnce(*caller, width, calls);
    std::printf("%.1f allocations a call\n", double(allocations() - before) / calls);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    signIn();
    if (argc == 5 && std::strcmp(argv[1], "--count") == 0)
        return count(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));

    constexpr int repetitions = 7;
    Figures own;
    Figures prompt;
    Figures document;
    Figures plain;
    for (int i = 0; i < repetitions; ++i) {
        measure(own, library, 300, 1280);
        measure(prompt, promptManager, 300, 1280);
        measure(document, libraryWithDocument, 200, 640);
        // It gets fewer calls: it waits through most of its time.
        measure(plain, plainManager, 40, 256);
        std::fprintf(stderr, "round %d of %d\r", i + 1, repetitions);
    }
    std::fprintf(stderr, "\n");
    printTable("manager without Nagle's algorithm", own, prompt);
    printTable("bare manager", document, plain);
    printFresh();
    return 0;
}
