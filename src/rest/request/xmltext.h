// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>

namespace KelRestHandler {

/// Writing XML by appending to a text: the service fixes every byte between the values, so there is
/// no indentation, no choice of prefix and no empty-element tag to decide about.

/// Appends a value in such a way that it stays a value: "&", "<" and ">" as entities. Characters
/// that XML 1.0 forbids (most control characters, lone surrogates, U+FFFE, U+FFFF) have no escaped
/// form; each becomes U+FFFD. Dropping them would let "ad" + NUL + "min" arrive as another, valid
/// name.
void appendEscaped(QString& xml, const QString& value);

inline void appendStartTag(QString& xml, const char* name)
{
    xml += QLatin1Char('<');
    xml += QLatin1String(name);
    xml += QLatin1Char('>');
}

inline void appendEndTag(QString& xml, const char* name)
{
    xml += QLatin1String("</");
    xml += QLatin1String(name);
    xml += QLatin1Char('>');
}

/// Start tag, value, end tag; also for an empty value.
inline void appendElement(QString& xml, const char* name, const QString& value)
{
    appendStartTag(xml, name);
    appendEscaped(xml, value);
    appendEndTag(xml, name);
}

inline void appendElement(QString& xml, const char* name, bool value)
{
    appendStartTag(xml, name);
    xml += value ? QLatin1String("true") : QLatin1String("false");
    appendEndTag(xml, name);
}

// A text literal would rather become a bool than a QString.
void appendElement(QString& xml, const char* name, const char* value) = delete;

/// The element, or nothing at all for an empty value.
inline void appendIfNonEmpty(QString& xml, const char* name, const QString& value)
{
    if (!value.isEmpty())
        appendElement(xml, name, value);
}

} // namespace KelRestHandler
