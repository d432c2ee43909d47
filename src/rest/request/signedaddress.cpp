// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/signedaddress.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>

namespace KelRestHandler {

namespace {

constexpr bool isLowerCase(QChar character)
{
    return character >= QLatin1Char('a') && character <= QLatin1Char('z');
}

constexpr bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

// A host name that QUrl leaves as it is: no address in numbers, which begins with a digit, no label
// in another script, which holds two hyphens, nothing too long for a label.
bool isPlainHost(QStringView host)
{
    constexpr int longestLabel = 63;
    if (host.isEmpty() || host.size() > longestLabel || !isLowerCase(host.front()))
        return false;
    bool separated = false;
    for (const QChar character : host) {
        const bool separator = character == QLatin1Char('.') || character == QLatin1Char('-');
        if (separator ? separated : !isLowerCase(character) && !isDigit(character))
            return false;
        separated = separator;
    }
    return !separated;
}

// Nothing in it is encoded, ends it or would be written otherwise.
bool isPlainPath(QStringView path)
{
    return std::all_of(path.begin(), path.end(), [](QChar character) {
        return isLowerCase(character) || isDigit(character) ||
               (character >= QLatin1Char('A') && character <= QLatin1Char('Z')) ||
               character == QLatin1Char('/') || character == QLatin1Char('-') ||
               character == QLatin1Char('.') || character == QLatin1Char('_') ||
               character == QLatin1Char('~');
    });
}

bool isPlain(const QString& url)
{
    const QLatin1String scheme("https://");
    if (!url.startsWith(scheme))
        return false;
    const QStringView rest = QStringView(url).mid(scheme.size());
    const auto* const slash = std::find(rest.begin(), rest.end(), QLatin1Char('/'));
    const auto hostLength = slash - rest.begin();
    return isPlainHost(rest.left(hostLength)) && isPlainPath(rest.mid(hostLength));
}

} // namespace

SignedAddress signedAddress(const QString& url)
{
    if (isPlain(url))
        return {url, {}};
    const QUrl address(url);
    return {address.scheme() + QLatin1String("://") + address.host() +
                address.path(QUrl::FullyDecoded),
            QUrlQuery(address).queryItems(QUrl::FullyDecoded)};
}

} // namespace KelRestHandler
