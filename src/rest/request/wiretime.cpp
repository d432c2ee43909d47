// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/wiretime.h"

#include <QLocale>
#include <QStringView>

#include <algorithm>
#include <array>

namespace KelRestHandler {

namespace {

// The numbers that stand in the text where the pattern has zeros, a run of them for each; false
// when it is not of the pattern, in which "?" stands for any character. Qt's readers take the
// user's digits besides, even those of the locale "C", and understand every pattern there is, which
// takes longer than reading the rest of a profile. A plus sign for a leading zero is what they
// take, too.
template <size_t count>
bool readNumbers(QStringView text, QLatin1String pattern, std::array<int, count>& numbers)
{
    if (text.size() != pattern.size())
        return false;
    numbers.fill(0);
    size_t index = 0;
    bool within = false; // a number
    for (int i = 0; i < pattern.size(); ++i) {
        const QLatin1Char wanted = pattern.at(i);
        const bool begins = !within;
        index += within && wanted != QLatin1Char('0') ? 1 : 0;
        within = wanted == QLatin1Char('0');
        if (!within) {
            if (wanted != QLatin1Char('?') && text[i] != wanted)
                return false;
            continue;
        }
        if (begins && text[i] == QLatin1Char('+'))
            continue;
        const int digit = text[i].unicode() - '0';
        if (digit < 0 || digit > 9)
            return false;
        numbers[index] = numbers[index] * 10 + digit;
    }
    return true;
}

// Not by reading both at once: that gives a local time, and what is not one is lost before it can
// be called UTC.
QDateTime utc(const QDate& date, const QTime& time)
{
    return date.isValid() && time.isValid() ? QDateTime(date, time, Qt::UTC) : QDateTime();
}

QDate readDate(QStringView text)
{
    std::array<int, 3> day{};
    return readNumbers(text, QLatin1String("0000-00-00"), day) ? QDate(day[0], day[1], day[2])
                                                               : QDate();
}

// The names of days and months are English whatever the user's language (RFC 9110, 5.6.7).
constexpr std::array monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array dayNames = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

// From 1 on, or 0.
template <size_t count>
int numberOf(QStringView name, const std::array<const char*, count>& names)
{
    const auto found = std::find_if(names.begin(), names.end(), [name](const char* known) {
        return name.compare(QLatin1String(known), Qt::CaseInsensitive) == 0;
    });
    return found == names.end() ? 0 : static_cast<int>(found - names.begin()) + 1;
}

} // namespace

QString wireDate(const QDate& date)
{
    return QLocale::c().toString(date, QStringLiteral("yyyy-MM-dd"));
}

QDate dateOnWire(const QString& text)
{
    return text.endsWith(QLatin1Char('Z')) ? readDate(QStringView(text).chopped(1)) : QDate();
}

QDateTime timeOnWire(const QString& text)
{
    constexpr int dateLength = 10;
    std::array<int, 4> time{};
    const QStringView all(text);
    if (all.size() <= dateLength ||
        !readNumbers(all.mid(dateLength), QLatin1String("T00:00:00.000Z"), time))
        return {};
    return utc(readDate(all.left(dateLength)), QTime(time[0], time[1], time[2], time[3]));
}

QDateTime headerTimeOnWire(const QString& text)
{
    constexpr int nameLength = 3;
    constexpr int monthAt = 8;
    std::array<int, 5> part{};
    const QStringView all(text);
    if (!readNumbers(all, QLatin1String("???, 00 ??? 0000 00:00:00"), part))
        return {};
    const QDate date(part[1], numberOf(all.mid(monthAt, nameLength), monthNames), part[0]);
    // No day of a date that is none has a name.
    if (!date.isValid() || numberOf(all.left(nameLength), dayNames) != date.dayOfWeek())
        return {};
    return utc(date, QTime(part[2], part[3], part[4]));
}

} // namespace KelRestHandler
