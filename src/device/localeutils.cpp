// SPDX-License-Identifier: LGPL-2.1-or-later
#include "device/localeutils.h"

#include <QHash>

#include <cstring>
#include <type_traits>

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

// The country part of a locale's name, behind the language.
QString codeOf(const QLocale& locale)
{
    return locale.name().section(QLatin1Char('_'), 1, 1).left(codeLength);
}

struct Place
{
    QLocale::Country country;
    const char* code;
};

// Where Qt knows of no language at all. Some are not countries, but have a code kept for them.
constexpr Place placesWithoutLocale[] = {
    {QLocale::Antarctica, "AQ"},
    {QLocale::AscensionIsland, "AC"},
    {QLocale::BouvetIsland, "BV"},
    {QLocale::ClippertonIsland, "CP"},
    {QLocale::EuropeanUnion, "EU"},
    {QLocale::FrenchSouthernTerritories, "TF"},
    {QLocale::HeardAndMcDonaldIslands, "HM"},
    {QLocale::OutlyingOceania, "QO"},
    {QLocale::SouthGeorgiaAndTheSouthSandwichIslands, "GS"},
    {QLocale::TristanDaCunha, "TA"},
};

struct Codes
{
    QHash<QLocale::Country, QString> ofCountries;
    QHash<QString, QLocale::Country> countries;

    void add(QLocale::Country country, const QString& code)
    {
        // A country has one code, but a locale for each of its languages.
        if (country == QLocale::AnyCountry || ofCountries.contains(country))
            return;
        ofCountries.insert(country, code);
        countries.insert(code, country);
    }
};

// Of the countries where no English is spoken that Qt knows of, too: it answers with the United
// States, when it is asked for the English of those.
const Codes& codes()
{
    static const Codes all = [] {
        Codes known;
        const auto locales =
            QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyCountry);
        for (const QLocale& locale : locales)
            known.add(locale.country(), codeOf(locale));
        for (const Place& place : placesWithoutLocale)
            known.add(place.country, QLatin1String(place.code));
        return known;
    }();
    return all;
}

// An application may have cast any number to the enumeration: one that is none of its values must
// not be read as one.
template <class Enumeration>
int numberOf(const Enumeration& value)
{
    // An int in Qt 5, a short one in Qt 6.
    std::underlying_type_t<Enumeration> number = 0;
    std::memcpy(&number, &value, sizeof number);
    return static_cast<int>(number);
}

} // namespace

QString LocaleUtils::countryToCode(QLocale::Country country)
{
    const int number = numberOf(country);
    if (number <= QLocale::AnyCountry || number > QLocale::LastCountry)
        return {};
    const QLocale english(QLocale::English, country);
    return english.country() == country ? codeOf(english) : codes().ofCountries.value(country);
}

QString LocaleUtils::languageToCode(QLocale::Language language)
{
    const int number = numberOf(language);
    if (number <= QLocale::C || number > QLocale::LastLanguage)
        return QStringLiteral("C");
    const QLocale locale(language, QLocale::AnyCountry);
    // Of a language without data Qt makes the user's locale.
    return locale.language() == language ? locale.name().left(codeLength) : QStringLiteral("C");
}

QLocale::Country LocaleUtils::codeToCountry(const QChar* code)
{
    const QString two = firstTwo(code);
    const QLocale::Country english = QLocale(QLatin1String("en_") + two).country();
    // Qt reads small letters, too.
    const QString upper = two.toUpper();
    return countryToCode(english) == upper ? english : codes().countries.value(upper, english);
}

QLocale::Language LocaleUtils::codeToLanguage(const QChar* code)
{
    return QLocale(firstTwo(code)).language();
}

QLocale::Language LocaleUtils::codeToLanguage(const QString& code)
{
    return codeToLanguage(code.constData());
}
