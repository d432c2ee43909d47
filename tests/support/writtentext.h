// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/literals.h"

#include <QRegularExpression>

namespace KelTest {

/// A text as tables have it: {20 x} is so many times x; \n, \r, \t and \u0041 are characters.
inline QString written(QString text)
{
    static const QRegularExpression repeated("\\{(\\d+) ([^{}]*)\\}"_s);
    for (auto match = repeated.match(text); match.hasMatch(); match = repeated.match(text))
        text.replace(match.capturedStart(), match.capturedLength(),
                     match.captured(2).repeated(match.captured(1).toInt()));
    static const QRegularExpression escaped("\\\\(?:u([0-9a-f]{4})|([nrt]))"_s);
    QString result;
    int end = 0;
    for (auto matches = escaped.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const QString letter = match.captured(2);
        result += text.mid(end, match.capturedStart() - end);
        result += letter == "n"_s   ? QChar(u'\n')
                  : letter == "r"_s ? QChar(u'\r')
                  : letter == "t"_s ? QChar(u'\t')
                                    : QChar(match.captured(1).toUShort(nullptr, 16));
        end = match.capturedEnd();
    }
    return result + text.mid(end);
}

} // namespace KelTest
