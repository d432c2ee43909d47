// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/elementvalues.h"

#include "device/localeutils.h"
#include "rest/reply/elementreading.h"
#include "rest/request/wiretime.h"

#include <QHash>

namespace KelRestHandler {

namespace {

// QLocale goes through all its tables for one code, which takes longer than reading the rest of a
// profile. Codes are few, so the answers are kept, except those for texts that are no code.
template <class Value>
Value keptAnswer(const QString& code, Value (*ask)(const QString& code))
{
    constexpr int codeLength = 2;
    constexpr int enough = 64;
    if (code.size() != codeLength)
        return ask(code);
    thread_local QHash<QString, Value> answers;
    const auto known = answers.constFind(code);
    if (known != answers.constEnd())
        return *known;
    if (answers.size() >= enough)
        answers.clear();
    return *answers.insert(code, ask(code));
}

} // namespace

QDateTime elementTime(const QDomNode& element)
{
    return timeOnWire(elementText(element));
}

QDate elementDate(const QDomNode& element)
{
    return dateOnWire(elementText(element));
}

QLocale::Language languageOf(const QString& code)
{
    return keptAnswer<QLocale::Language>(code, LocaleUtils::codeToLanguage);
}

QLocale::Country countryOf(const QString& code)
{
    return keptAnswer<QLocale::Country>(
        code, [](const QString& text) { return LocaleUtils::codeToCountry(text.constData()); });
}

void setGender(Gender& gender, const QString& text)
{
    const QString upper = text.toUpper();
    if (upper == QLatin1String("MALE"))
        gender = GenderMale;
    else if (upper == QLatin1String("FEMALE"))
        gender = GenderFemale;
}

void setCountry(QLocale::Country& country, const QString& text)
{
    const QString code = text.toUpper();
    const QLocale::Country candidate = countryOf(code);
    if (!code.isEmpty() && LocaleUtils::countryToCode(candidate) == code)
        country = candidate;
}

} // namespace KelRestHandler
