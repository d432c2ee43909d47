// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/xmltext.h"

#include <algorithm>

namespace KelRestHandler {

namespace {

// Whether the character can be written as it stands, whatever its neighbours are.
bool isPlain(QChar character)
{
    switch (character.unicode()) {
    case '&':
    case '<':
    case '>':
    case 0xFFFE:
    case 0xFFFF:
        return false;
    case '\t':
    case '\n':
    case '\r':
        return true;
    default:
        return character.unicode() >= 0x20 && !character.isSurrogate();
    }
}

QLatin1String entityFor(QChar character)
{
    switch (character.unicode()) {
    case '&':
        return QLatin1String("&amp;");
    case '<':
        return QLatin1String("&lt;");
    case '>':
        return QLatin1String("&gt;");
    default:
        return {};
    }
}

} // namespace

void appendEscaped(QString& xml, const QString& value)
{
    const QChar* const end = value.cend();
    for (const QChar* position = value.cbegin(); position != end;) {
        const QChar* const firstOther = std::find_if_not(position, end, isPlain);
        xml.append(position, static_cast<int>(firstOther - position));
        position = firstOther;
        if (position == end)
            return;

        const QLatin1String entity = entityFor(*position);
        if (!entity.isEmpty()) {
            xml += entity;
        } else if (position->isHighSurrogate() && position + 1 != end &&
                   position[1].isLowSurrogate()) {
            xml.append(position, 2);
            ++position;
        } else {
            xml += QChar(QChar::ReplacementCharacter);
        }
        ++position;
    }
}

} // namespace KelRestHandler
