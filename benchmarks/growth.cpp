// SPDX-License-Identifier: LGPL-2.1-or-later
// What a call costs and the process holds after many calls, and with many at once. Draws it, too.
// Run it as: kelaccount-emulator run --scenario returning-user -- growth [--picture FILE]
#include "warmcalls.h"

#include <QCoreApplication>
#include <QFile>

#include <malloc.h>
#include <sched.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

using namespace WarmCalls;

namespace {

struct Point
{
    int at;           ///< how many calls were before, or are under way
    double cpu;       ///< microseconds of each call
    double ratio;     ///< to what it is measured beside
    double kilobytes; ///< allocated by the process and not freed, nothing being under way
    long resident;
};

// A client's threads, which hand each call on to one another, are at times all on one processor and
// at times on several. That is up to the kernel, lasts for hundreds of calls, and takes 1.6 times
// the processor time: of two clients each may be in another state. So they have to share one.
void stayOnOneProcessor()
{
    cpu_set_t permitted;
    CPU_ZERO(&permitted);
    if (::sched_getaffinity(0, sizeof permitted, &permitted) != 0)
        return;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &permitted)) {
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(processor, &one);
            if (::sched_setaffinity(0, sizeof one, &one) == 0)
                return;
        }
    }
    std::fprintf(stderr, "growth: not on one processor, times may differ for that\n");
}

double allocatedKilobytes()
{
    return double(mallinfo2().uordblks) / 1024;
}

// Of one way of calling, and of another in turns with it, so that other work of the machine does
// not fall on one of them alone. It only ever adds to a portion, so the least of each counts.
struct Cost
{
    double own;
    double reference;
};

Cost costOfCalls(Caller& own, int width, Caller& reference, int referenceWidth, int calls)
{
    constexpr int portions = 15;
    std::vector<double> taken[2];
    const auto add = [&](std::vector<double>& to, Caller& caller, int atATime) {
        const double before = cpuSeconds();
        atOnce(caller, atATime, calls / portions);
        to.push_back((cpuSeconds() - before) * 1e6 / (calls / portions));
    };
    for (int i = 0; i < portions; ++i) {
        add(taken[0], own, width);
        add(taken[1], reference, referenceWidth);
    }
    return {*std::min_element(taken[0].begin(), taken[0].end()),
            *std::min_element(taken[1].begin(), taken[1].end())};
}

constexpr int few = 5;

Point pointAt(int at, Caller& caller, const Cost& cost)
{
    // What is deleted later is gone with a few more.
    oneByOne(caller, few);
    return {at, cost.own, cost.own / cost.reference, allocatedKilobytes(), residentKilobytes()};
}

constexpr int measured = 750; // less than between the first two points

std::vector<Point> afterManyCalls()
{
    constexpr int width = 16;
    const std::unique_ptr<Caller> caller = library();
    std::vector<Point> points;
    int made = 0;
    for (const int mark : {100, 1'000, 10'000, 100'000}) {
        atOnce(*caller, width, mark - made);
        Cost cost{};
        {
            // One that has not made any call but these.
            const std::unique_ptr<Caller> fresh = library();
            atOnce(*fresh, width, 100);
            cost = costOfCalls(*caller, width, *fresh, width, measured);
        }
        points.push_back(pointAt(mark, *caller, cost));
        made = mark + measured + few;
        std::fprintf(stderr, "%d calls\n", mark);
    }
    return points;
}

std::vector<Point> withManyAtOnce()
{
    const std::unique_ptr<Caller> caller = library();
    atOnce(*caller, 16, 1000);
    std::vector<Point> points;
    for (const int width : {1, 10, 100, 1'000}) {
        constexpr int usual = 10;
        const Cost cost =
            costOfCalls(*caller, width, *caller, usual, std::max(measured, 15 * width));
        points.push_back(pointAt(width, *caller, cost));
        std::fprintf(stderr, "%d at once\n", width);
    }
    return points;
}

void print(const char* what, const char* beside, const std::vector<Point>& points)
{
    std::printf("\n| %s | processor time of a call | times that of %s | allocated | resident |\n"
                "|---:|---:|---:|---:|---:|\n",
                what, beside);
    for (const Point& point : points) {
        std::printf("| %d | %.0f us | %.2f | %.0f KiB | %ld KiB |\n", point.at, point.cpu,
                    point.ratio, point.kilobytes, point.resident);
    }
}

template <class... Values>
std::string text(const char* format, Values... values)
{
    char buffer[600];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

constexpr int panelWidth = 420;
constexpr int panelHeight = 200;
constexpr int left = 50;
constexpr int top = 40;
constexpr int plotWidth = 340;
constexpr int plotHeight = 120;

// As multiples of `one`, from 0 to 2; each point at its power of ten.
template <class Value>
std::string curve(const std::vector<Point>& points, Value value, double one, int x, int y,
                  const char* colour, const char* name, int row)
{
    std::string line;
    std::string marks;
    for (const Point& point : points) {
        const double step = plotWidth / std::log10(points.back().at / double(points.front().at));
        const double right = x + left + step * std::log10(point.at / double(points.front().at));
        const double share = std::min(2.0, value(point) / one);
        const double down = y + top + plotHeight * (1 - share / 2);
        line += text("%.1f,%.1f ", right, down);
        marks +=
            text("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", right, down, colour);
    }
    line.pop_back();
    return text("<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\" points=\"%s\"/>\n",
                colour, line.c_str()) +
           marks +
           text("<text x=\"%d\" y=\"%d\" text-anchor=\"end\" fill=\"%s\">%s</text>\n",
                x + left + plotWidth, y + top + 14 + 16 * row, colour, name);
}

std::string panel(const std::vector<Point>& points, const char* title, int x)
{
    constexpr int y = 0;
    std::string drawn =
        text("<text x=\"%d\" y=\"22\" font-weight=\"bold\">%s</text>\n", x + left, title);
    for (int multiple = 0; multiple <= 2; ++multiple) {
        const int at = y + top + plotHeight - multiple * plotHeight / 2;
        drawn += text("<path d=\"M%d %dh%d\" stroke=\"#ddd\"/>\n"
                      "<text x=\"%d\" y=\"%d\" text-anchor=\"end\">%d x</text>\n",
                      x + left, at, plotWidth, x + left - 6, at + 4, multiple);
    }
    for (const Point& point : points) {
        const double step = plotWidth / std::log10(points.back().at / double(points.front().at));
        drawn += text("<text x=\"%.1f\" y=\"%d\" text-anchor=\"middle\">%d</text>\n",
                      x + left + step * std::log10(point.at / double(points.front().at)),
                      y + top + plotHeight + 18, point.at);
    }
    drawn += curve(
        points, [](const Point& p) { return p.ratio; }, 1, x, y, "#1a6f3c",
        "processor time of a call", 0);
    drawn += curve(
        points, [](const Point& p) { return p.kilobytes; }, points.front().kilobytes, x, y,
        "#b3261e", "memory allocated", 1);
    return drawn;
}

bool draw(const char* file, const std::vector<Point>& after, const std::vector<Point>& atOnce)
{
    const std::string svg =
        text("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 "
             "%d %d\" font-family=\"sans-serif\" font-size=\"12\">\n"
             "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n",
             2 * panelWidth, panelHeight, 2 * panelWidth, panelHeight) +
        panel(after, "after so many calls", 0) + panel(atOnce, "with so many at once", panelWidth) +
        "</svg>\n";
    QFile out(QString::fromLocal8Bit(file));
    return out.open(QIODevice::WriteOnly) && out.write(svg.c_str()) == qint64(svg.size());
}

} // namespace

int main(int argc, char** argv)
{
    stayOnOneProcessor(); // before there is a thread
    QCoreApplication application(argc, argv);
    signIn();
    const std::vector<Point> after = afterManyCalls();
    const std::vector<Point> atOnce = withManyAtOnce();
    print("after so many calls", "a fresh client", after);
    print("with so many at once", "ten at once", atOnce);
    if (argc == 3 && std::strcmp(argv[1], "--picture") == 0 && !draw(argv[2], after, atOnce)) {
        std::fprintf(stderr, "growth: %s cannot be written\n", argv[2]);
        return 1;
    }
    return 0;
}
