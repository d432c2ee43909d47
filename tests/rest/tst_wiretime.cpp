// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/request/wiretime.h"
#include "support/literals.h"
#include "support/rows.h"

#include <QLocale>
#include <QTest>

#include <ctime>

using namespace KelRestHandler;

namespace {

/// The process's time zone while this lives.
class TimeZone
{
public:
    explicit TimeZone(const QByteArray& name)
        : mBefore(qgetenv("TZ")), mWasSet(qEnvironmentVariableIsSet("TZ"))
    {
        qputenv("TZ", name);
        tzset();
    }
    ~TimeZone()
    {
        if (mWasSet)
            qputenv("TZ", mBefore);
        else
            qunsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    QByteArray mBefore;
    bool mWasSet;
};

QDateTime utc(int year, int month, int day, int hour, int minute, int second, int millisecond = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second, millisecond), Qt::UTC);
}

QString digits(const QString& ascii, ushort zero)
{
    QString result = ascii;
    for (QChar& c : result) {
        if (c >= QLatin1Char('0') && c <= QLatin1Char('9'))
            c = QChar(ushort(zero + c.unicode() - '0'));
    }
    return result;
}

constexpr ushort persianZero = 0x06F0;
constexpr ushort arabicZero = 0x0660;

} // namespace

class TestWireTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Every test also runs with an application's own default locale.
    void init() { QLocale::setDefault(QLocale::system()); }

    void datesAreWrittenInAsciiDigits_data()
    {
        columns<QDate, QString>("date", "text");
        QTest::newRow("usual") << QDate(1979, 12, 31) << "1979-12-31"_s;
        QTest::newRow("leading zeros") << QDate(2001, 2, 3) << "2001-02-03"_s;
        QTest::newRow("early") << QDate(33, 4, 5) << "0033-04-05"_s;
    }

    void datesAreWrittenInAsciiDigits()
    {
        QFETCH(QDate, date);
        for (const QLocale& locale :
             {QLocale::system(), QLocale("fa_IR"_s), QLocale("ar_EG"_s), QLocale("tr_TR"_s)}) {
            QLocale::setDefault(locale);
            QTEST(wireDate(date), "text");
        }
    }

    void anInvalidDateIsEmpty()
    {
        QVERIFY(wireDate(QDate()).isEmpty());
        QVERIFY(wireDate(QDate(2001, 2, 29)).isEmpty());
    }

    void datesOnTheWireAreRead_data()
    {
        columns<QString, QDate>("text", "date");
        QTest::newRow("usual") << "1979-12-31Z"_s << QDate(1979, 12, 31);
        QTest::newRow("leap day") << "2004-02-29Z"_s << QDate(2004, 2, 29);
        for (const char* text : {"", "Z", "1979-12-31", "1979-12-31z", "1979-12-3Z", "1979-12-31ZZ",
                                 " 1979-12-31Z", "1979/12/31Z", "2003-02-29Z", "1979-13-01Z",
                                 "0000-01-01Z", "-979-12-31Z", "31-12-1979Z"})
            QTest::newRow(text) << QString::fromLatin1(text) << QDate();
    }

    void datesOnTheWireAreRead()
    {
        QFETCH(QString, text);
        QTEST(dateOnWire(text), "date");
    }

    void timesOnTheWireAreRead_data()
    {
        columns<QString, QDateTime>("text", "time");
        QTest::newRow("usual") << "2011-03-04T05:06:07.089Z"_s << utc(2011, 3, 4, 5, 6, 7, 89);
        QTest::newRow("first moment") << "1970-01-01T00:00:00.000Z"_s << utc(1970, 1, 1, 0, 0, 0);
        row("last moment of a day", "2011-03-04T23:59:59.999Z"_s, utc(2011, 3, 4, 23, 59, 59, 999));
        for (const char* text :
             {"", "2011-03-04", "2011-03-04T", "2011-03-04T05:06:07Z", "2011-03-04T05:06:07.08Z",
              "2011-03-04T05:06:07.089", "2011-03-04t05:06:07.089Z", "2011-03-04 05:06:07.089Z",
              "2011-03-04T24:00:00.000Z", "2011-03-04T05:60:07.089Z", "2011-02-29T05:06:07.089Z",
              "2011-03-04T05:06:07.089ZZ", "T05:06:07.089Z"})
            QTest::newRow(text) << QString::fromLatin1(text) << QDateTime();
    }

    void timesOnTheWireAreRead()
    {
        const auto [text, time] = fetch<QString, QDateTime>("text", "time");
        const QDateTime read = timeOnWire(text);
        QCOMPARE(read, time);
        QCOMPARE(read.isValid(), time.isValid());
        if (read.isValid())
            QCOMPARE(read.timeSpec(), Qt::UTC);
    }

    void dateHeadersAreRead_data()
    {
        columns<QString, QDateTime>("text", "time");
        // The example of RFC 7231, and one day for each month and each day of the week.
        const QPair<const char*, QDateTime> rows[] = {
            {"Sun, 06 Nov 1994 08:49:37", utc(1994, 11, 6, 8, 49, 37)},
            {"Mon, 01 Jan 2024 00:00:00", utc(2024, 1, 1, 0, 0, 0)},
            {"Tue, 06 Feb 2024 01:02:03", utc(2024, 2, 6, 1, 2, 3)},
            {"Wed, 06 Mar 2024 01:02:03", utc(2024, 3, 6, 1, 2, 3)},
            {"Thu, 04 Apr 2024 01:02:03", utc(2024, 4, 4, 1, 2, 3)},
            {"Fri, 03 May 2024 01:02:03", utc(2024, 5, 3, 1, 2, 3)},
            {"Sat, 01 Jun 2024 01:02:03", utc(2024, 6, 1, 1, 2, 3)},
            {"Sun, 07 Jul 2024 01:02:03", utc(2024, 7, 7, 1, 2, 3)},
            {"Thu, 01 Aug 2024 01:02:03", utc(2024, 8, 1, 1, 2, 3)},
            {"Mon, 02 Sep 2024 01:02:03", utc(2024, 9, 2, 1, 2, 3)},
            {"Tue, 01 Oct 2024 01:02:03", utc(2024, 10, 1, 1, 2, 3)},
            {"Wed, 25 Dec 2024 23:59:59", utc(2024, 12, 25, 23, 59, 59)},
        };
        for (const auto& row : rows)
            QTest::newRow(row.first) << QString::fromLatin1(row.first) << row.second;
        for (const char* text :
             {"", " ", "tomorrow", "08:49:37", "Sun, 06 Nov 1994", "Sun, 06 Nov 1994 8:49:37",
              "Sun, 06 Nov 1994 24:00:00", "Sun, 31 Nov 1994 08:49:37", "So, 06 Nov 1994 08:49:37",
              "Sun, 06 Nov 1994 08:49:37 GMT"})
            QTest::newRow(text) << QString::fromLatin1(text) << QDateTime();
    }

    void dateHeadersAreRead()
    {
        const auto [text, time] = fetch<QString, QDateTime>("text", "time");
        const QDateTime read = headerTimeOnWire(text);
        QCOMPARE(read, time);
        QCOMPARE(read.isValid(), time.isValid());
        if (read.isValid())
            QCOMPARE(read.timeSpec(), Qt::UTC);
    }

    void hoursThatTheLocalZoneLeavesOutAreTimes_data()
    {
        columns<QByteArray, QString, QString, QDateTime>("zone", "text", "header", "time");
        row("the hour of spring", "Europe/Berlin"_ba, "2026-03-29T02:30:00.000Z"_s,
            "Sun, 29 Mar 2026 02:30:00"_s, utc(2026, 3, 29, 2, 30, 0));
        row("midnight", "America/Sao_Paulo"_ba, "2018-11-04T00:15:00.000Z"_s,
            "Sun, 04 Nov 2018 00:15:00"_s, utc(2018, 11, 4, 0, 15, 0));
        row("a whole day", "Pacific/Apia"_ba, "2011-12-30T12:00:00.000Z"_s,
            "Fri, 30 Dec 2011 12:00:00"_s, utc(2011, 12, 30, 12, 0, 0));
    }

    void hoursThatTheLocalZoneLeavesOutAreTimes()
    {
        const auto [zone, text, header, time] =
            fetch<QByteArray, QString, QString, QDateTime>("zone", "text", "header", "time");
        const TimeZone away(zone);
        QVERIFY2(!QDateTime(time.date(), time.time(), Qt::LocalTime).isValid(),
                 "the zone does not leave this hour out; is the package tzdata installed?");
        QCOMPARE(timeOnWire(text), time);
        QCOMPARE(headerTimeOnWire(header), time);
        QCOMPARE(dateOnWire(text.left(10) + QLatin1Char('Z')), time.date());
    }

    void otherScriptsDigitsAreNoTimeInAnyLocale_data()
    {
        QTest::addColumn<QString>("locale");
        for (const char* name : {"C", "fa_IR", "ar_EG"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void otherScriptsDigitsAreNoTimeInAnyLocale()
    {
        QFETCH(QString, locale);
        QLocale::setDefault(QLocale(locale));
        for (const ushort zero : {persianZero, arabicZero}) {
            QVERIFY(!dateOnWire(digits("1979-12-31Z"_s, zero)).isValid());
            QVERIFY(!timeOnWire(digits("2011-03-04T05:06:07.089Z"_s, zero)).isValid());
            QVERIFY(!headerTimeOnWire(digits("Sun, 06 Nov 1994 08:49:37"_s, zero)).isValid());
        }
    }
};

QTEST_GUILESS_MAIN(TestWireTime)
#include "tst_wiretime.moc"
