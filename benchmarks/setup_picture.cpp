// SPDX-License-Identifier: LGPL-2.1-or-later
#include "setup_picture.h"

#include <QFile>
#include <QTextStream>

#include <algorithm>

namespace {

constexpr int width = 810;
constexpr int nameWidth = 380;
constexpr int lineHeight = 26;
constexpr int barHeight = 9;
constexpr int top = 34;
constexpr int rightMargin = 50;

} // namespace

void SetUpPicture::add(const QString& step, double signIn, double registration)
{
    mSteps.append({step, {signIn, registration}});
}

bool SetUpPicture::write(const QString& name) const
{
    QFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    double ends[2] = {0, 0};
    for (const Step& step : mSteps) {
        for (int i = 0; i < 2; ++i)
            ends[i] += step.milliseconds[i];
    }
    const double scale = (width - nameWidth - rightMargin) / std::max({ends[0], ends[1], 1.0});
    const int height = top + mSteps.size() * lineHeight + 10;
    const char* const colours[] = {"#2a6f97", "#c8843c"};
    const char* const names[] = {"sign-in", "registration"};
    QTextStream svg(&file);
    svg.setRealNumberNotation(QTextStream::FixedNotation);
    svg.setRealNumberPrecision(1);
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << height
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    for (int i = 0; i < 2; ++i) {
        svg << "<text x=\"" << nameWidth + i * 170 << "\" y=\"18\" fill=\"" << colours[i] << "\">"
            << names[i] << ": " << ends[i] << " ms</text>\n";
    }
    double reached[2] = {0, 0};
    int y = top;
    for (const Step& step : mSteps) {
        svg << "<text x=\"" << nameWidth - 10 << "\" y=\"" << y + barHeight + 4
            << "\" text-anchor=\"end\">" << step.name.toHtmlEscaped() << "</text>\n";
        for (int i = 0; i < 2; ++i) {
            const double x = nameWidth + reached[i] * scale;
            const double length = std::max(step.milliseconds[i] * scale, 0.5);
            const int barTop = y + i * (barHeight + 1);
            svg << "<rect x=\"" << x << "\" y=\"" << barTop << "\" width=\"" << length
                << "\" height=\"" << barHeight << "\" fill=\"" << colours[i] << "\"/>\n"
                << "<text x=\"" << x + length + 4 << "\" y=\"" << barTop + barHeight
                << "\" font-size=\"9\">" << step.milliseconds[i] << "</text>\n";
            reached[i] += step.milliseconds[i];
        }
        y += lineHeight;
    }
    svg << "</svg>\n";
    svg.flush();
    return file.error() == QFileDevice::NoError;
}
