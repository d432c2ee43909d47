// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/addressvalue.h"

#include <QLatin1String>

#include <algorithm>

namespace KelRestHandler {

namespace {

bool hasNoneOf(QStringView value, QLatin1String characters)
{
    return std::none_of(value.begin(), value.end(), [characters](QChar character) {
        return character.category() == QChar::Other_Control || characters.contains(character);
    });
}

} // namespace

bool isWholeInPath(QStringView value)
{
    return value != QLatin1String(".") && value != QLatin1String("..") &&
           hasNoneOf(value, QLatin1String("/?#%"));
}

bool isWholeInQuery(QStringView value)
{
    return isWholeInPath(value) && hasNoneOf(value, QLatin1String("&="));
}

bool isGivenInPath(QStringView value)
{
    return !value.isEmpty() && isWholeInPath(value);
}

bool isGivenInQuery(QStringView value)
{
    return !value.isEmpty() && isWholeInQuery(value);
}

} // namespace KelRestHandler
