// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/retryafter.h"

#include "rest/request/wiretime.h"

#include <QString>

#include <algorithm>
#include <limits>

namespace KelRestHandler {

namespace {

constexpr qint64 longest = std::numeric_limits<int>::max();

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

int retryAfterSeconds(const QByteArray& value, const QDateTime& now)
{
    const QByteArray text = value.trimmed();
    if (text.isEmpty())
        return -1;
    if (std::all_of(text.begin(), text.end(), &isDigit)) {
        bool fits = false;
        const qlonglong seconds = text.toLongLong(&fits);
        return static_cast<int>(fits ? std::min<qint64>(seconds, longest) : longest);
    }
    constexpr int zoneLength = 4;
    if (!text.endsWith(" GMT"))
        return -1;
    // With its length: a text of bytes alone ends at a null character, before its zone.
    const QDateTime until =
        headerTimeOnWire(QString::fromLatin1(text.constData(), text.size() - zoneLength));
    if (!until.isValid() || !now.isValid())
        return -1;
    return static_cast<int>(std::clamp<qint64>(now.secsTo(until), 0, longest));
}

} // namespace KelRestHandler
