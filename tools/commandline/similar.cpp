// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/commandline/description.h"

#include <algorithm>
#include <utility>

namespace CommandLine {

namespace {

/// How many letters have to be put in, left out, changed or swapped with their neighbour.
size_t distance(const std::string& a, const std::string& b)
{
    std::vector<std::vector<size_t>> rows(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                rows[i][j] = i + j;
                continue;
            }
            const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            rows[i][j] =
                std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
        }
    }
    return rows[a.size()][b.size()];
}

} // namespace

std::vector<std::string> similarTo(const std::string& text, const std::vector<std::string>& names)
{
    constexpr size_t longest = 64;
    constexpr size_t mostOffered = 3;
    if (text.empty() || text.size() > longest)
        return {};
    std::vector<std::pair<size_t, std::string>> found;
    for (const std::string& name : names) {
        const bool begun = text.size() >= 3 && name.compare(0, text.size(), text) == 0;
        const size_t steps = begun ? 1 : distance(text, name);
        if (steps <= std::min<size_t>(2, name.size() / 3))
            found.emplace_back(steps, name);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<std::string> result;
    for (const auto& each : found) {
        if (each.first == found.front().first && result.size() < mostOffered)
            result.push_back(each.second);
    }
    return result;
}

} // namespace CommandLine
