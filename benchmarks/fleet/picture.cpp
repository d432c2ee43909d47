// SPDX-License-Identifier: LGPL-2.1-or-later
#include "picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace fleet {

namespace {

constexpr int width = 880;
constexpr int left = 70;
constexpr int right = 40;
constexpr int panelHeight = 210;
constexpr int top = 34; ///< of a panel, for its title
constexpr int plotHeight = 140;
constexpr double lowest = 2; ///< powers of ten
constexpr double highest = 5;

const std::array<const char*, 3> colours{"#b3261e", "#9a6b00", "#1a6f3c"};

template <class... Values>
std::string text(const char* format, Values... values)
{
    std::array<char, 600> buffer{};
    std::snprintf(buffer.data(), buffer.size(), format, values...);
    return buffer.data();
}

double height(double value)
{
    const double power = std::clamp(std::log10(std::max(value, 1.0)), lowest, highest);
    return plotHeight * (1 - (power - lowest) / (highest - lowest));
}

std::string line(const Curve& curve, int first, double step, int y, const char* colour)
{
    std::string points;
    const auto count = static_cast<int>(curve.values.size());
    for (int i = first; i < count; ++i)
        points += text("%.1f,%.1f ", left + (i - first) * step, y + height(curve.values[i]));
    points.pop_back();
    return text("<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\" points=\"", colour) +
           points + "\"/>\n";
}

std::string axes(int y, int first, int last, int zero, double step)
{
    std::string drawn;
    for (int power = static_cast<int>(lowest); power <= static_cast<int>(highest); ++power) {
        const double at = y + height(std::pow(10, power));
        drawn += text("<path d=\"M%d %.1fH%d\" stroke=\"#ddd\"/>\n"
                      "<text x=\"%d\" y=\"%.1f\" text-anchor=\"end\">%.0f</text>\n",
                      left, at, width - right, left - 6, at + 4, std::pow(10, power));
    }
    constexpr int tick = 60;
    for (int second = first; second <= last; second += tick)
        drawn += text("<text x=\"%.1f\" y=\"%d\" text-anchor=\"middle\">%+d s</text>\n",
                      left + (second - first) * step, y + plotHeight + 16, second - zero);
    const double back = left + (zero - first) * step;
    drawn += text("<path d=\"M%.1f %dV%d\" stroke=\"#888\" stroke-dasharray=\"3 3\"/>\n", back, y,
                  y + plotHeight);
    return drawn;
}

} // namespace

std::string drawn(const std::vector<Panel>& panels, int first, int zero, double limit,
                  const std::string& limitName)
{
    const int whole = panelHeight * static_cast<int>(panels.size());
    std::string svg =
        text("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 "
             "%d %d\" "
             "font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%%\" height=\"100%%\" "
             "fill=\"#fff\"/>\n",
             width, whole, width, whole);
    int y = 0;
    for (const Panel& panel : panels) {
        const int last = static_cast<int>(panel.curves.front().values.size()) - 1;
        const double step = double(width - left - right) / (last - first);
        svg += text("<text x=\"%d\" y=\"%d\" font-weight=\"bold\">%s</text>\n", left, y + 20,
                    panel.title.c_str());
        svg += axes(y + top, first, last, zero, step);
        const double at = y + top + height(limit);
        svg += text("<path d=\"M%d %.1fH%d\" stroke=\"#000\"/>\n<text x=\"%d\" y=\"%.1f\" "
                    "text-anchor=\"end\">%s</text>\n",
                    left, at, width - right, width - right, at - 4, limitName.c_str());
        int row = 0;
        for (const Curve& curve : panel.curves) {
            const char* const colour = colours.at(row);
            svg += line(curve, first, step, y + top, colour);
            svg += text("<text x=\"%d\" y=\"%d\" text-anchor=\"end\" fill=\"%s\">%s</text>\n",
                        width - right, y + top + 12 + 16 * row++, colour, curve.name.c_str());
        }
        y += panelHeight;
    }
    return svg + "</svg>\n";
}

} // namespace fleet
