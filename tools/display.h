// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QStringList>

/// How standard output is shown colours: only a terminal that wants them is.
class Colours
{
public:
    Colours();

    QString good(const QString& text) const { return painted("32", text); }
    QString doubtful(const QString& text) const { return painted("33", text); }
    QString bad(const QString& text) const { return painted("31", text); }
    QString strong(const QString& text) const { return painted("1", text); }
    QString forStatus(int status, const QString& text) const
    {
        return status == 0 ? good(text) : bad(text);
    }

private:
    QString painted(const char* code, const QString& text) const;

    bool mWanted = false;
};

/// Makes text safe for a terminal: control characters are shown as \xNN.
QString printable(const QString& text);

/// Broken between words, and words that are too long anywhere.
QStringList brokenLines(const QString& text, int width);

/// Writes a line to standard output.
void printLine(const QString& text);
