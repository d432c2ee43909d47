// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/elementvalues.h"

#include "device/localeutils.h"
#include "rest/elementreading.h"

#include <QHash>

namespace KelRestHandler {

namespace {

// The usual form of a date of birth; null for any other. QDate's own reader understands every
// format there is, which takes longer than reading the rest of a profile.
QDate dateOfDigits(const QString& text)
{
    constexpr int length = 11; // yyyy-MM-ddZ
    if (text.size() != length || text[4] != QLatin1Char('-') || text[7] != QLatin1Char('-') ||
        text[10] != QLatin1Char('Z'))
        return {};
    const auto number = [&](int start, int digits) {
        int value = 0;
        for (int i = start; i < start + digits; ++i) {
            const int digit = text[i].unicode() - '0';
            if (digit < 0 || digit > 9)
                return 0; // no year, month or day has this number
            value = value * 10 + digit;
        }
        return value;
    };
    const int year = number(0, 4);
    const int month = number(5, 2);
    const int day = number(8, 2);
    return QDate::isValid(year, month, day) ? QDate(year, month, day) : QDate();
}

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
    QDateTime time =
        QDateTime::fromString(elementText(element), QStringLiteral("yyyy-MM-ddThh:mm:ss.zzzZ"));
    time.setTimeSpec(Qt::UTC);
    return time;
}

QDate elementDate(const QDomNode& element)
{
    const QString text = elementText(element);
    const QDate date = dateOfDigits(text);
    return date.isValid() ? date : QDate::fromString(text, QStringLiteral("yyyy-MM-ddZ"));
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
