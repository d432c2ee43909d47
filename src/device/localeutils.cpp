// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"

namespace {

constexpr int codeLength = 2;

// At most two characters: the text may be shorter, and ends with a null character then.
QString firstTwo(const QChar* code)
{
    QString two;
    for (int i = 0; code && i < codeLength && !code[i].isNull(); ++i)
        two.append(code[i]);
    return two;
}

} // namespace

QString LocaleUtils::countryToCode(QLocale::Country country)
{
    if (country <= QLocale::AnyCountry || country > QLocale::LastCountry)
        return {};
    // "en_" and then the country
    return QLocale(QLocale::English, country).name().mid(3, codeLength);
}

QString LocaleUtils::languageToCode(QLocale::Language language)
{
    if (language <= QLocale::C || language > QLocale::LastLanguage)
        return QStringLiteral("C");
    return QLocale(language, QLocale::AnyCountry).name().left(codeLength);
}

QLocale::Country LocaleUtils::codeToCountry(const QChar* code)
{
    return QLocale(QLatin1String("en_") + firstTwo(code)).country();
}

QLocale::Language LocaleUtils::codeToLanguage(const QChar* code)
{
    return QLocale(firstTwo(code)).language();
}

QLocale::Language LocaleUtils::codeToLanguage(const QString& code)
{
    return codeToLanguage(code.constData());
}
