// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLocale>
#include <QString>

/// Two-letter codes of languages (ISO 639-1) and countries (ISO 3166-1) to and from Qt's values.
class LocaleUtils
{
public:
    /// Two-letter code; empty for QLocale::AnyCountry and for values that this Qt does not have. Of
    /// a part of the world, the first two digits of its number. Every country has a code of its
    /// own, so codeToCountry() leads back.
    static QString countryToCode(QLocale::Country country);

    /// First two letters of the language's code; "C" for QLocale::C, QLocale::AnyLanguage, values
    /// that this Qt does not have and languages of which it has no locale.
    static QString languageToCode(QLocale::Language language);

    /// Reads at most two characters, capitals or not; a null pointer or an unknown code gives the
    /// country of QLocale's answer for the name "en_" + code, the United States.
    static QLocale::Country codeToCountry(const QChar* code);

    /// Reads at most two characters; a null pointer or an unknown code gives QLocale::C.
    static QLocale::Language codeToLanguage(const QChar* code);
    static QLocale::Language codeToLanguage(const QString& code);
};
