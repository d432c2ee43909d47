// SPDX-License-Identifier: LGPL-2.1-or-later
// Times and codes as the service writes them: one a line, in headers and in elements.
#include "bytesource.h"
#include "fuzztarget.h"

#include "device/localeutils.h"
#include "rest/reply/elementvalues.h"
#include "rest/reply/retryafter.h"
#include "rest/request/timestampmanager.h"
#include "rest/request/wiretime.h"

#include <QDateTime>
#include <QLocale>

#include <limits>

namespace KelFuzz::Headers {

namespace {

using namespace KelRestHandler;

// What is read as a time is that time, written as it has to be.
void readTimes(const QString& text)
{
    // A plus sign may stand for a leading zero.
    const QString plain = QString(text).replace(QLatin1Char('+'), QLatin1Char('0'));
    const QDateTime ofHeader = headerTimeOnWire(text);
    if (!ofHeader.isNull()) {
        require(ofHeader.isValid() && ofHeader.timeSpec() == Qt::UTC);
        const QString written =
            QLocale::c().toString(ofHeader, QStringLiteral("ddd, dd MMM yyyy hh:mm:ss"));
        require(written.compare(plain, Qt::CaseInsensitive) == 0);
    }
    const QDate date = dateOnWire(text);
    if (!date.isNull())
        require(wireDate(date) + QLatin1Char('Z') == plain);
    const QDateTime time = timeOnWire(text);
    if (!time.isNull()) {
        require(time.timeSpec() == Qt::UTC);
        require(QLocale::c().toString(time, QStringLiteral("yyyy-MM-ddThh:mm:ss.zzzZ")) == plain);
    }
}

void readCodes(const QString& text)
{
    const QLocale::Country country = countryOf(text);
    require(country >= 0 && country <= QLocale::LastCountry);
    require(LocaleUtils::countryToCode(country).size() <= 3);
    const QLocale::Language language = languageOf(text);
    require(language >= 0 && language <= QLocale::LastLanguage);
    QLocale::Country known = QLocale::Finland;
    setCountry(known, text);
    require(known == QLocale::Finland || LocaleUtils::countryToCode(known) == text.toUpper());
}

void readWait(const QByteArray& value, const QDateTime& now)
{
    const int seconds = retryAfterSeconds(value, now);
    require(seconds >= -1);
    // Longer ones are cut.
    const QByteArray text = value.trimmed();
    if (seconds <= 0 || seconds == std::numeric_limits<int>::max() || !text.endsWith(" GMT"))
        return;
    const QByteArray date = text.left(text.size() - 4);
    require(headerTimeOnWire(QString::fromLatin1(date.constData(), date.size())) ==
            now.addSecs(seconds));
}

void run(const uint8_t* data, size_t size)
{
    ByteSource source(data, size);
    // Its milliseconds are none of a header's.
    const QDateTime now =
        QDateTime::fromSecsSinceEpoch(source.number() % (qint64(1) << 40), Qt::UTC);
    TimeStampManager clock;
    while (!source.isEmpty()) {
        const QByteArray line = source.line();
        const QString text = QString::fromUtf8(line);
        readTimes(text);
        readCodes(text);
        readWait(line, now);
        clock.syncToTime(headerTimeOnWire(text));
        require(clock.toTime_t() >= 0 && clock.timeStamp().toLongLong() >= 0);
    }
}

} // namespace

} // namespace KelFuzz::Headers

KEL_FUZZ_TARGET(headers, KelFuzz::Headers::run)
