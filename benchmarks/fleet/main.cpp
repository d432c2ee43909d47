// SPDX-License-Identifier: LGPL-2.1-or-later
// What a fleet of handsets asks of a service, as the tables and the picture of docs/fleet.md.
#include "fleet.h"
#include "picture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

using namespace fleet;

constexpr int before = 60; ///< in the picture, of the service's return
constexpr int after = 480;

struct Way
{
    Again again;
    const char* name;
};

struct Trouble
{
    Outage outage;
    const char* name;
    std::vector<Way> ways;
};

const Way fixed{Again::Fixed, "its own 5 s"};
const Way asSaid{Again::AsSaid, "Retry-After as it stands"};
const Way suggested{Again::Suggested, "retryAfter of the client"};
const Way doubling{Again::Doubling, "retryAfter, else 5 s doubled and spread"};

const std::vector<Trouble> troubles{
    {Outage::Naming,
     "503, \"Retry-After\" names the moment of the return",
     {fixed, asSaid, suggested}},
    {Outage::Asking, "503, \"Retry-After: 30\"", {fixed, asSaid, suggested}},
    {Outage::Unreachable, "connections are refused", {fixed, suggested, doubling}},
    {Outage::Silent, "nothing answers", {fixed, suggested, doubling}},
};

int backAt(const Settings& settings)
{
    return static_cast<int>(settings.outageStart + settings.outageLength);
}

// Connections asked for, the ones that the kernel asks for again included.
double knocks(const Second& second)
{
    return static_cast<double>(second.handshakes + second.notAccepted);
}

void printReturn(const Settings& settings, const char* trouble, const char* way,
                 const Result& result)
{
    double busiest = 0;
    Second all;
    for (std::size_t i = backAt(settings); i < result.seconds.size(); ++i) {
        busiest = std::max(busiest, knocks(result.seconds[i]));
        all.refused += result.seconds[i].refused;
        all.guarded += result.seconds[i].guarded;
        all.connections = std::max(all.connections, result.seconds[i].connections);
    }
    std::printf("| %s | %s | %.0f | %.0f %% | %lld | %lld | %lld | %d s |\n", trouble, way, busiest,
                100.0 * busiest / settings.handshakesASecond, static_cast<long long>(all.refused),
                static_cast<long long>(all.guarded), static_cast<long long>(all.connections),
                secondsUntilCalm(settings, result));
}

std::vector<Panel> printReturns(Settings settings)
{
    std::printf("| Outage | An application waits | Connections asked for in the busiest second | "
                "of capacity | Refused after the return | No answer in 60 s | Open at most | "
                "Calm after |\n|---|---|---:|---:|---:|---:|---:|---:|\n");
    std::vector<Panel> panels;
    for (const Trouble& trouble : troubles) {
        Panel panel{trouble.name, {}};
        for (const Way& way : trouble.ways) {
            settings.outage = trouble.outage;
            settings.again = way.again;
            const Result result = simulate(settings);
            printReturn(settings, trouble.name, way.name, result);
            Curve curve{way.name, {}};
            for (int i = 0; i <= backAt(settings) + after; ++i)
                curve.values.push_back(knocks(result.seconds[i]));
            panel.curves.push_back(std::move(curve));
        }
        panels.push_back(std::move(panel));
    }
    return panels;
}

// Of a quiet time, after the first minute.
void printPlan(const char* name, const Settings& settings)
{
    const Result result = simulate(settings);
    constexpr std::size_t first = 60;
    const auto last = static_cast<std::size_t>(settings.end);
    Second all;
    double open = 0;
    for (std::size_t i = first; i < last; ++i) {
        all.arrivals += result.seconds[i].arrivals;
        all.handshakes += result.seconds[i].handshakes;
        all.connections = std::max(all.connections, result.seconds[i].connections);
        open += static_cast<double>(result.seconds[i].connections);
    }
    const auto seconds = static_cast<double>(last - first);
    std::printf("| %s | %.0f | %.0f | %.2f | %.0f | %lld |\n", name, double(all.arrivals) / seconds,
                double(all.handshakes) / seconds, double(all.handshakes) / double(all.arrivals),
                open / seconds, static_cast<long long>(all.connections));
}

void printPlans(Settings settings)
{
    std::printf("\n| Quiet time | Requests a second | Handshakes a second | Handshakes a request | "
                "Connections | at most |\n|---|---:|---:|---:|---:|---:|\n");
    settings.end = 600;
    printPlan("as it is", settings);
    settings.isPrepared = true;
    printPlan("prepared with the screen", settings);
    settings.isPrepared = false;
    settings.serviceKeepsIdle = 75;
    printPlan("the service keeps connections for 75 s", settings);
    settings.heldUnused = settings.idleLimit;
    printPlan("the same, closed by the library at its limit", settings);
    settings.idleLimit = 0;
    settings.heldUnused = 0;
    printPlan("each request on its own connection", settings);
    settings.idleLimit = settings.heldUnused = 30;
    printPlan("used again for 30 s, where the service keeps them", settings);
}

int misuse()
{
    std::fputs("usage: fleet [--handsets N] [--seed N] [--picture FILE]\n", stderr);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    Settings settings;
    const char* picture = nullptr;
    for (int i = 1; i < argc; i += 2) {
        if (i + 1 == argc)
            return misuse();
        const std::string option = argv[i];
        if (option == "--handsets" && std::atoi(argv[i + 1]) > 0) {
            const double share = std::atoi(argv[i + 1]) / double(settings.handsets);
            settings.handsets = std::atoi(argv[i + 1]);
            settings.requestsASecond *= share;
            settings.handshakesASecond *= share;
        } else if (option == "--seed") {
            settings.seed = std::strtoull(argv[i + 1], nullptr, 10);
        } else if (option == "--picture") {
            picture = argv[i + 1];
        } else {
            return misuse();
        }
    }
    std::vector<Panel> panels = printReturns(settings);
    printPlans(settings);
    if (!picture)
        return 0;
    panels.pop_back();
    std::ofstream file(picture);
    file << drawn(panels, backAt(settings) - before, backAt(settings), settings.handshakesASecond,
                  "connections a second that the service can accept");
    file.close();
    if (!file) {
        std::fprintf(stderr, "fleet: %s cannot be written\n", picture);
        return 1;
    }
    return 0;
}
