// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QLocale>
#include <QString>

/// Two-letter codes of languages (ISO 639-1) and countries (ISO 3166-1) to and from Qt's values.
class LocaleUtils
{
public:
    /// Two-letter code; empty for QLocale::AnyCountry and for values that this Qt does not have.
    static QString countryToCode(QLocale::Country country);

    /// First two letters of the language's code; "C" for QLocale::C, QLocale::AnyLanguage and
    /// values that this Qt does not have.
    static QString languageToCode(QLocale::Language language);

    /// Reads at most two characters; a null pointer or an unknown code gives the country of
    /// QLocale's answer for the name "en_" + code.
    static QLocale::Country codeToCountry(const QChar* code);

    /// Reads at most two characters; a null pointer or an unknown code gives QLocale::C.
    static QLocale::Language codeToLanguage(const QChar* code);
    static QLocale::Language codeToLanguage(const QString& code);
};
