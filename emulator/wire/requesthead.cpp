// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/wire/requesthead.h"

#include <algorithm>
#include <charconv>

namespace KelEmulator {

namespace {

constexpr std::string_view endOfLine = "\r\n";

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
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// Whether a comma-separated list has the option.
bool hasOption(std::string_view list, std::string_view option)
{
    for (size_t comma = 0; comma != std::string_view::npos; list.remove_prefix(comma + 1)) {
        comma = list.find(',');
        if (isSame(trimmed(list.substr(0, comma)), option))
            return true;
        if (comma == std::string_view::npos)
            break;
    }
    return false;
}

/// The next line without its end, taken off `rest`.
std::string_view takeLine(std::string_view& rest)
{
    const size_t end = rest.find(endOfLine);
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + endOfLine.size());
    return line;
}

} // namespace

int RequestHead::read(std::string text)
{
    mText = std::move(text);
    mMethod.clear();
    mTarget.clear();
    std::string_view rest = mText;
    const std::string_view requestLine = takeLine(rest);
    mHeadersAt = mText.size() - rest.size();
    if (!readRequestLine(requestLine))
        return 400;
    if (mTarget.size() > longestTarget)
        return 414;
    const bool isWhole = mText.size() >= end.size() &&
                         mText.compare(mText.size() - end.size(), end.size(), end) == 0;
    if (!isWhole || mText.size() > longest)
        return 400;
    while (!rest.empty()) {
        const std::string_view line = takeLine(rest);
        const size_t colon = line.find(':');
        const bool isHeader = colon != std::string_view::npos && colon > 0 &&
                              line.substr(0, colon).find_first_of(" \t") == std::string_view::npos;
        if (!line.empty() && (!isHeader || line.size() > longestLine))
            return 400;
    }
    std::string_view length;
    if (find("Content-Length", length) > 0 && !bodyLength())
        return 400;
    return 0;
}

bool RequestHead::readRequestLine(std::string_view line)
{
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const size_t first = line.find(' ');
    const size_t last = line.rfind(' ');
    if (first == std::string_view::npos || first == last)
        return false;
    mMethod = line.substr(0, first);
    mTarget = line.substr(first + 1, last - first - 1);
    const std::string_view version = line.substr(last + 1);
    mIsOld = version == "HTTP/1.0";
    return first > 0 && mMethod.find_first_not_of(letters) == std::string::npos &&
           !mTarget.empty() && mTarget.find(' ') == std::string::npos &&
           (mIsOld || version == "HTTP/1.1");
}

int RequestHead::find(std::string_view name, std::string_view& value) const
{
    int count = 0;
    std::string_view rest = std::string_view(mText).substr(mHeadersAt);
    while (!rest.empty()) {
        const std::string_view line = takeLine(rest);
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos || !isSame(line.substr(0, colon), name))
            continue;
        if (count == 0)
            value = trimmed(line.substr(colon + 1));
        ++count;
    }
    return count;
}

std::string RequestHead::header(std::string_view name) const
{
    std::string_view value;
    find(name, value);
    return std::string(value);
}

bool RequestHead::hasHeader(std::string_view name) const
{
    std::string_view value;
    return find(name, value) > 0;
}

std::optional<std::uint64_t> RequestHead::bodyLength() const
{
    std::string_view value;
    std::uint64_t length = 0;
    if (find("Content-Length", value) != 1)
        return std::nullopt;
    const auto [stop, error] = std::from_chars(value.data(), value.data() + value.size(), length);
    if (value.empty() || error != std::errc() || stop != value.data() + value.size())
        return std::nullopt;
    return length;
}

bool RequestHead::wantsLeave() const
{
    return isSame(header("Expect"), "100-continue");
}

WireRequest RequestHead::withBody(std::string body) const
{
    WireRequest request;
    request.target = mTarget;
    request.host = header("Host");
    request.authorization = header("Authorization");
    request.restVerb = header("rest-verb");
    request.contentType = header("Content-Type");
    request.acceptLanguage = header("Accept-Language");
    request.body = std::move(body);
    return request;
}

bool RequestHead::keepsConnection() const
{
    const std::string options = header("Connection");
    return !hasOption(options, "close") && (!mIsOld || hasOption(options, "keep-alive"));
}

} // namespace KelEmulator
