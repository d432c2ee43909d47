// SPDX-License-Identifier: LGPL-2.1-or-later
#include "display.h"

#include <cstdio>
#include <unistd.h>

Colours::Colours()
{
    const QByteArray terminal = qgetenv("TERM");
    mWanted = ::isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR") &&
              !terminal.isEmpty() && terminal != "dumb";
}

QString Colours::painted(const char* code, const QString& text) const
{
    if (!mWanted)
        return text;
    return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QLatin1String(code), text);
}

QString printable(const QString& text)
{
    QString result;
    for (const QChar c : text) {
        if (c.category() == QChar::Other_Control)
            result += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            result += c;
    }
    return result;
}

QStringList brokenLines(const QString& text, int width)
{
    QStringList lines;
    QString rest = text;
    while (rest.size() > width) {
        const int blank = rest.lastIndexOf(QLatin1Char(' '), width);
        const int end = blank > 0 ? blank : width;
        lines.append(rest.left(end));
        rest.remove(0, blank > 0 ? end + 1 : end);
    }
    lines.append(rest);
    return lines;
}

void printLine(const QString& text)
{
    std::fputs((text + QLatin1Char('\n')).toLocal8Bit().constData(), stdout);
}
