// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/requesthead.h"

#include <algorithm>

namespace KelEmulator {

namespace {

char lowerCase(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSame(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return lowerCase(one) == lowerCase(other); });
}

std::string_view trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

} // namespace

void RequestHead::begin()
{
    mText.clear();
    mComplete = false;
}

void RequestHead::append(std::string_view bytes)
{
    constexpr std::string_view end = "\r\n\r\n";
    if (mComplete)
        return;
    mText.append(bytes);
    mComplete =
        mText.size() > longest || (mText.size() >= end.size() &&
                                   mText.compare(mText.size() - end.size(), end.size(), end) == 0);
}

std::string RequestHead::header(std::string_view name) const
{
    std::string_view rest = mText;
    while (!rest.empty()) {
        const size_t end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        const size_t colon = line.find(':');
        if (colon != std::string_view::npos && isSame(line.substr(0, colon), name))
            return std::string(trimmed(line.substr(colon + 1)));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return std::string();
}

} // namespace KelEmulator
