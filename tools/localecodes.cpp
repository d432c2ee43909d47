// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tools/localecodes.h"

#include <QLocale>

#include <algorithm>

namespace {

bool isLanguage(const QString& code)
{
    const bool formed =
        code.size() >= 2 && code.size() <= 3 && std::all_of(code.begin(), code.end(), [](QChar c) {
            return c >= QLatin1Char('a') && c <= QLatin1Char('z');
        });
    // An unknown one becomes the C locale.
    return formed && QLocale(code).language() != QLocale::C;
}

bool isCountry(const QString& code)
{
    if (code.size() != 2)
        return false; // regions have names of three digits
    const QList<QLocale> all =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
    return std::any_of(all.begin(), all.end(), [&code](const QLocale& locale) {
        return locale.language() != QLocale::C &&
               locale.name().section(QLatin1Char('_'), -1) == code;
    });
}

} // namespace

std::string languageProblem(const std::string& text)
{
    const QString code = QString::fromStdString(text).replace(QLatin1Char('-'), QLatin1Char('_'));
    const QString language = code.section(QLatin1Char('_'), 0, 0);
    const bool withCountry = language.size() < code.size();
    if (isLanguage(language) && (!withCountry || isCountry(code.mid(language.size() + 1))))
        return {};
    return "needs a language's code like fi or pt_BR, not '" + text + '\'';
}

std::string countryProblem(const std::string& text)
{
    if (isCountry(QString::fromStdString(text)))
        return {};
    return "needs a country's code like FI, not '" + text + '\'';
}
