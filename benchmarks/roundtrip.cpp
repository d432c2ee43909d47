// SPDX-License-Identifier: LGPL-2.1-or-later
// Round trips to the emulator over TLS and its tunnel, in turns, in one process: this library
// beside a QNetworkAccessManager without Nagle's algorithm, bare and in a program written by hand
// that does the same job, and one with it. Run it as: kelaccount-emulator run --scenario
// returning-user -- roundtrip [--count WAY CALLS WIDTH [BEFORE]]. With --count it makes so many
// warm calls, WIDTH at a time, WAY being "library", "handwritten" or "manager", and prints how
// often each allocated memory; for those who count something else about them. With BEFORE, so many
// are made first, and callgrind, told to begin without, counts the others alone.
#include "warmcalls.h"

#include "rest/transport/networkreplycontainer.h"
#include "rest/transport/serviceconnections.h"

#include <QCoreApplication>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#endif

#include <cstdio>
#include <cstring>
#include <numeric>

using namespace WarmCalls;
using KelRestHandler::NetworkReplyContainer;
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

using Values = std::vector<double> Figures::*;

struct Row
{
    const char* name;
    Values values;
    const char* unit;
};

constexpr Row rows[] = {
    {"p50 of a warm call", &Figures::p50, "ms"},
    {"mean of a warm call", &Figures::mean, "ms"},
    {"client processor time of a warm call", &Figures::cpu, "us"},
    {"64 calls at once", &Figures::rate, "/s"},
    {"client processor time of each of these", &Figures::cpuAtOnce, "us"},
};

struct Peer
{
    const char* name;
    const Figures& figures;
};

void printTable(const Figures& own, const std::vector<Peer>& peers)
{
    std::printf("\n| | this library |");
    for (const Peer& peer : peers)
        std::printf(" %s | ratio |", peer.name);
    std::printf("\n|---|---:|");
    for (size_t i = 0; i < peers.size(); ++i)
        std::printf("---:|---:|");
    for (const Row& row : rows) {
        const double ours = median(own.*row.values);
        std::printf("\n| %s | %.4g %s |", row.name, ours, row.unit);
        for (const Peer& peer : peers) {
            const double theirs = median(peer.figures.*row.values);
            std::printf(" %.4g %s | %.2f |", theirs, row.unit, ours / theirs);
        }
    }
    std::printf("\n");
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

int count(const char* way, int calls, int width, int callsBefore)
{
    // A thousand at once take their time where each instruction is counted.
    constexpr int enough = 1000 * 1000;
    NetworkReplyContainer::setGuardMilliseconds(enough);
    // So does a machine with other work, and a handshake is no warm call's.
    ServiceConnections::setIdleMilliseconds(enough);
    const auto is = [way](const char* name) { return std::strcmp(way, name) == 0; };
    const Make make = is("library") ? library : is("handwritten") ? handWritten : promptManager;
    const std::unique_ptr<Caller> caller = make();
    // As much for few calls as for many, so that it is not in the difference.
    constexpr int most = 1000;
    caller->provideFor(most);
    constexpr int settled = 300;
    atOnce(*caller, width, callsBefore > 0 ? callsBefore : settled);
    CALLGRIND_START_INSTRUMENTATION;
    const long before = allocations();
    atOnce(*caller, width, calls);
    CALLGRIND_STOP_INSTRUMENTATION;
    std::printf("%.1f allocations a call\n", double(allocations() - before) / calls);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    signIn();
    if ((argc == 5 || argc == 6) && std::strcmp(argv[1], "--count") == 0)
        return count(argv[2], std::atoi(argv[3]), std::atoi(argv[4]),
                     argc == 6 ? std::atoi(argv[5]) : 0);

    constexpr int repetitions = 7;
    Figures own;
    Figures byHand;
    Figures prompt;
    Figures document;
    Figures plain;
    for (int i = 0; i < repetitions; ++i) {
        measure(own, library, 300, 1280);
        measure(byHand, handWritten, 300, 1280);
        measure(prompt, promptManager, 300, 1280);
        measure(document, libraryWithDocument, 200, 640);
        // It gets fewer calls: it waits through most of its time.
        measure(plain, plainManager, 40, 256);
        std::fprintf(stderr, "round %d of %d\r", i + 1, repetitions);
    }
    std::fprintf(stderr, "\n");
    printTable(own, {{"by hand", byHand}, {"manager without Nagle's algorithm", prompt}});
    printTable(document, {{"bare manager", plain}});
    printFresh();
    return 0;
}
