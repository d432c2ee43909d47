// SPDX-License-Identifier: LGPL-2.1-or-later
// What each moment of a call costs when nobody looks: beside reading the clock, which is the most
// of it.

#include "common/flightrecord.h"

#include <benchmark/benchmark.h>

#include <chrono>

using namespace KelAccount::FlightRecord;

namespace {

void clockAlone(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
}

void oneMoment(benchmark::State& state)
{
    int request = 0;
    for (auto _ : state)
        record({Moment::Posted, 0, ++request});
}

// A call has about ten.
void allMomentsOfACall(benchmark::State& state)
{
    int request = 0;
    quint64 call = newSource() * callsOfASource;
    for (auto _ : state) {
        ++request;
        ++call;
        record({Moment::Made, call, -1, 0, 0, "isUserIdAvailable"});
        record({Moment::Signed, 0, request, 3});
        record({Moment::Posted, 0, request});
        record({Moment::Requested, call, request});
        record({Moment::Connected, 0, request});
        record({Moment::Sent, 0, request});
        record({Moment::FirstByte, 0, request, 200});
        record({Moment::Read, 0, request, 0, 200});
        record({Moment::Answered, call});
    }
}

void whatIsKept(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(kept());
}

BENCHMARK(clockAlone);
BENCHMARK(oneMoment);
BENCHMARK(allMomentsOfACall);
BENCHMARK(whatIsKept);

} // namespace

BENCHMARK_MAIN();
