// SPDX-License-Identifier: LGPL-2.1-or-later
#include "matrix/soakpoint.h"

#include "matrix/tablefile.h"
#include "support/literals.h"

#include <algorithm>
#include <cmath>

using namespace KelTest;

namespace Matrix {

namespace {

constexpr double mostKiBOfACall = 0.02;
// A page of an allocator here, a cache there: what one moment differs from the next by.
constexpr double wavesKiB = 200;
// Of the plugin only pages are known, and its first thousand calls touch some for the first time.
constexpr double pluginsWavesKiB = 1024;

const QStringList kinds = {"service"_s, "session"_s, "set-up"_s};

/// What is counted, and how much more may be there at one moment than at another.
struct Count
{
    const char* name;
    int Possessions::*value;
    int waves;
};

constexpr Count counts[] = {{"descriptors", &Possessions::descriptors, 10},
                            {"threads", &Possessions::threads, 3},
                            {"bus names", &Possessions::busNames, 3},
                            {"timers", &Possessions::timers, 5},
                            {"objects", &Possessions::objects, 100}};

/// What was made once is there after a fourth.
QVector<SoakPoint> settled(const QVector<SoakPoint>& points)
{
    return points.mid(points.size() / 4);
}

/// Of the line with the least squares.
double kiBOfACall(const QVector<SoakPoint>& points)
{
    double x = 0;
    double y = 0;
    double xx = 0;
    double xy = 0;
    for (const SoakPoint& point : points) {
        const auto calls = static_cast<double>(point.calls);
        x += calls;
        y += point.has.allocatedKiB;
        xx += calls * calls;
        xy += calls * point.has.allocatedKiB;
    }
    const auto n = static_cast<double>(points.size());
    const double width = n * xx - x * x;
    return width > 0 ? (n * xy - x * y) / width : 0;
}

double mean(const QVector<SoakPoint>& points, int Possessions::*value)
{
    double sum = 0;
    for (const SoakPoint& point : points)
        sum += point.has.*value;
    return points.isEmpty() ? 0 : sum / points.size();
}

QString number(double value)
{
    return QString::number(value, 'f', 0);
}

QString curve(const QVector<SoakPoint>& points, double (*value)(const SoakPoint&), int x,
              const char* colour, const char* name, int row)
{
    constexpr int width = 240;
    constexpr int height = 120;
    const double first = std::max(1.0, value(points.first()));
    const auto calls = static_cast<double>(points.last().calls);
    QStringList line;
    for (const SoakPoint& point : points)
        line.append("%1,%2"_s.arg(x + width * static_cast<double>(point.calls) / calls, 0, 'f', 1)
                        .arg(160 - height / 2.0 * std::min(2.0, value(point) / first), 0, 'f', 1));
    return "<polyline fill=\"none\" stroke=\"%1\" stroke-width=\"1.5\" points=\"%2\"/>\n"
           "<text x=\"%3\" y=\"%4\" text-anchor=\"end\" fill=\"%1\">%5</text>\n"_s
               .arg(text(colour), line.join(QLatin1Char(' ')))
               .arg(x + width)
               .arg(54 + 15 * row)
               .arg(text(name));
}

} // namespace

QString SoakPoint::header()
{
    return "kind;calls;faults;ms;allocated_kib;resident_kib;descriptors;threads;bus_names;timers;"
           "objects;plugin_kib;plugin_descriptors;day;commit"_s;
}

QString SoakPoint::line() const
{
    return QStringList({kind, QString::number(calls), QString::number(faults),
                        QString::number(milliseconds), QString::number(has.allocatedKiB, 'f', 1),
                        QString::number(has.residentKiB), QString::number(has.descriptors),
                        QString::number(has.threads), QString::number(has.busNames),
                        QString::number(has.timers), QString::number(has.objects),
                        QString::number(has.pluginKiB), QString::number(has.pluginDescriptors), day,
                        commit})
        .join(QLatin1Char(';'));
}

SoakPoint SoakPoint::fromLine(const QString& line)
{
    const QStringList fields = line.split(QLatin1Char(';'));
    SoakPoint point;
    if (fields.size() != header().count(QLatin1Char(';')) + 1 || !kinds.contains(fields.at(0)))
        return point;
    point.kind = fields.at(0);
    point.calls = fields.at(1).toLongLong();
    point.faults = fields.at(2).toLongLong();
    point.milliseconds = fields.at(3).toLongLong();
    point.has.allocatedKiB = fields.at(4).toDouble();
    point.has.residentKiB = fields.at(5).toLongLong();
    point.has.descriptors = fields.at(6).toInt();
    point.has.threads = fields.at(7).toInt();
    point.has.busNames = fields.at(8).toInt();
    point.has.timers = fields.at(9).toInt();
    point.has.objects = fields.at(10).toInt();
    point.has.pluginKiB = fields.at(11).toLongLong();
    point.has.pluginDescriptors = fields.at(12).toInt();
    point.day = fields.at(13);
    point.commit = fields.at(14);
    return point;
}

Soak Soak::fromFile(const QString& file, QStringList& problems)
{
    Soak soak;
    const QStringList lines = linesOfTable(file, SoakPoint::header(), problems);
    for (const QString& line : lines) {
        const SoakPoint point = SoakPoint::fromLine(line);
        if (point.line() != line)
            problems.append("no point: %1"_s.arg(line));
        else
            soak.add(point);
    }
    return soak;
}

QString Soak::text() const
{
    QStringList lines(SoakPoint::header());
    for (const SoakPoint& point : mPoints)
        lines.append(point.line());
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

QVector<SoakPoint> Soak::of(const QString& kind) const
{
    QVector<SoakPoint> points;
    std::copy_if(mPoints.cbegin(), mPoints.cend(), std::back_inserter(points),
                 [&](const SoakPoint& point) { return point.kind == kind; });
    return points;
}

QStringList Soak::problems() const
{
    QStringList problems;
    for (const QString& kind : kinds) {
        const QVector<SoakPoint> points = settled(of(kind));
        if (points.size() < 4) {
            problems.append("too few points of %1 calls"_s.arg(kind));
            continue;
        }
        const double each = kiBOfACall(points);
        const double calls = static_cast<double>(points.last().calls - points.first().calls);
        if (each > mostKiBOfACall && each * calls > wavesKiB)
            problems.append("%1: each call leaves %2 KiB"_s.arg(kind).arg(each, 0, 'f', 3));
        // With the others of a session it is the plugin that works.
        const qint64 plugin = points.last().has.pluginKiB - points.first().has.pluginKiB;
        if (kind == "session"_s && static_cast<double>(plugin) > pluginsWavesKiB &&
            static_cast<double>(plugin) > mostKiBOfACall * calls)
            problems.append("the plugin grows by %1 KiB"_s.arg(plugin));
        const int third = points.size() / 3;
        for (const Count& count : counts) {
            const double before = mean(points.mid(0, third), count.value);
            const double after = mean(points.mid(points.size() - third), count.value);
            if (after > before + count.waves)
                problems.append("%1: there were %2 %3, and then %4"_s.arg(kind, number(before))
                                    .arg(QLatin1String(count.name), number(after)));
        }
    }
    return problems;
}

QString Soak::section() const
{
    QString text =
        "\n## Very many calls\n\n"
        "One process makes them one after the other, 16 at a time for those without "
        "credentials, by client and facade in turns. Every twentieth portion meets a "
        "fault of the network that ends at once, a different one each time. Every call is "
        "answered once, and those without a fault with success; else the run fails.\n\n"
        "![What the process has, as a multiple of what it had first: flat](images/soak.svg)\n\n"
        "| Calls | | At a fault | Microseconds each | Allocated, KiB | of each call | "
        "Resident, KiB | Descriptors | Threads | Bus names | Timers | Objects | Plugin, KiB "
        "|\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n"_s;
    for (const QString& kind : kinds) {
        const QVector<SoakPoint> all = of(kind);
        const QVector<SoakPoint> points = settled(all);
        for (const SoakPoint& point :
             {all.value(0), all.value(all.size() / 2), all.value(all.size() - 1)}) {
            const bool isLast = point.calls == all.value(all.size() - 1).calls;
            const auto calls = std::max<qint64>(1, point.calls);
            text += "| %1 | %2 | %3 | %4 | %5 | %6 | %7 | %8 |"_s.arg(kind)
                        .arg(point.calls)
                        .arg(point.faults)
                        .arg(point.milliseconds * 1000 / calls)
                        .arg(number(point.has.allocatedKiB),
                             isLast ? QString::number(kiBOfACall(points), 'f', 4) : QString())
                        .arg(point.has.residentKiB)
                        .arg(point.has.descriptors);
            text += " %1 | %2 | %3 | %4 | %5 |\n"_s.arg(point.has.threads)
                        .arg(point.has.busNames)
                        .arg(point.has.timers)
                        .arg(point.has.objects)
                        .arg(point.has.pluginKiB);
        }
    }
    const SoakPoint last = mPoints.isEmpty() ? SoakPoint() : mPoints.last();
    text +=
        "\n\"Of each call\" is the slope of the line through all points but the first quarter, in "
        "which what is made once is made; the bound is %1 KiB. A set-up is a sign-in and a "
        "sign-out, "
        "and the plugins of those that have gone are ended between. Microseconds are from the "
        "first call to there, with faults and stops. A facade's profiles are left out: they live "
        "as long as it. What some twenty bytes of each set-up come to was looked at with "
        "heaptrack, over 660 of "
        "them: messages that libdbus keeps for the next ones, and sources of GLib's connection to "
        "the bus. Tried "
        "%2 on %3, by "
        "`./test --soak`. All points are in [reliability-soak.csv](reliability-soak.csv).\n"_s
            .arg(mostKiBOfACall)
            .arg(last.day, last.commit);
    return text;
}

QString Soak::picture() const
{
    constexpr int panel = 320;
    QString svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"200\" viewBox=\"0 0 %1 "
        "200\" font-family=\"sans-serif\" font-size=\"12\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n"_s.arg(panel * kinds.size());
    for (int i = 0; i < kinds.size(); ++i) {
        const QVector<SoakPoint> points = of(kinds.at(i));
        const int x = i * panel + 45;
        if (points.isEmpty())
            continue;
        svg += "<text x=\"%1\" y=\"22\" font-weight=\"bold\">%2 calls of kind %3</text>\n"_s.arg(x)
                   .arg(points.last().calls)
                   .arg(kinds.at(i));
        for (int multiple = 0; multiple <= 2; ++multiple)
            svg += "<path d=\"M%1 %2h240\" stroke=\"#ddd\"/>\n<text x=\"%3\" y=\"%4\" "
                   "text-anchor=\"end\">%5 x</text>\n"_s.arg(x)
                       .arg(160 - 60 * multiple)
                       .arg(x - 6)
                       .arg(164 - 60 * multiple)
                       .arg(multiple);
        svg += curve(
            points, [](const SoakPoint& p) { return p.has.allocatedKiB; }, x, "#b3261e",
            "memory allocated", 0);
        svg += curve(
            points, [](const SoakPoint& p) { return static_cast<double>(p.has.descriptors); }, x,
            "#1a6f3c", "descriptors", 1);
        svg += curve(
            points, [](const SoakPoint& p) { return static_cast<double>(p.has.objects); }, x,
            "#1a4f8a", "objects", 2);
    }
    return svg + "</svg>\n"_s;
}

} // namespace Matrix
