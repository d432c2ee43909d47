// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/profileinfodata.h"

#include "rest/records/datablock.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace KelRestHandler {

namespace {

// The record has one place for the code texts of language and country together. No XML document can
// contain the character between them, so none that came from the service can be taken for it.
constexpr QChar localeSeparator(0x1F);
// A language that an application set may contain it. Such a pair is written in a form without it,
// and with another such character in front and between them.
constexpr QChar escapedMark(0x1E);
constexpr QChar escape(0x1D);

struct Escape
{
    QChar plain;
    QLatin1Char behindEscape;
};
constexpr Escape escapes[] = {
    {escape, QLatin1Char('0')}, // the first to be escaped, and the last to come back
    {escapedMark, QLatin1Char('1')},
    {localeSeparator, QLatin1Char('2')},
};

QString escaped(QString text)
{
    for (const Escape& e : escapes)
        text.replace(e.plain, QString(escape) + e.behindEscape);
    return text;
}

QString unescaped(QString text)
{
    for (auto e = std::rbegin(escapes); e != std::rend(escapes); ++e)
        text.replace(QString(escape) + e->behindEscape, e->plain);
    return text;
}

QString joinLocaleCodes(const QString& language, const QString& country)
{
    return language.contains(localeSeparator)
               ? escapedMark + escaped(language) + escapedMark + escaped(country)
               : language + localeSeparator + country;
}

void splitLocaleCodes(const QString& codes, QString& language, QString& country)
{
    const int separator = codes.indexOf(localeSeparator);
    if (separator < 0 && codes.startsWith(escapedMark)) {
        language = unescaped(codes.section(escapedMark, 1, 1));
        country = unescaped(codes.section(escapedMark, 2));
        return;
    }
    language = codes.left(separator);
    country = separator < 0 ? QString() : codes.mid(separator + 1);
}

template <class... Values>
QByteArray block(const Values&... values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    (stream << ... << values);
    return bytes;
}

// There are 16 bits for it; beyond them one unknown gender is as good as another.
qint16 genderNumberOf(Gender gender)
{
    using Range = std::numeric_limits<qint16>;
    return static_cast<qint16>(std::clamp<int>(gender, Range::min(), Range::max()));
}

void readServices(QDataStream& stream, QStringList& services)
{
    qint32 count = 0;
    readValue(stream, count);
    // Every name takes bytes of the stream, so these bound the loop whatever the count says.
    for (qint32 i = 0; i < count; ++i) {
        QString name;
        readValue(stream, name);
        if (stream.status() != QDataStream::Ok)
            return;
        services.append(name);
    }
}

void readAccount(const QByteArray& bytes, AccountInfoFields& account)
{
    QDataStream stream(bytes);
    readValue(stream, account.accountId);
    readValue(stream, account.mobile);
    readValue(stream, account.email);
    readValue(stream, account.emailVerified);
    readValue(stream, account.mobileVerified);
}

void readConsent(const QByteArray& bytes, MarketingConsentInfo& consent)
{
    QDataStream stream(bytes);
    readValue(stream, consent.email);
    readValue(stream, consent.mobile);
}

} // namespace

ProfileInfoData::ProfileInfoData(const QByteArray& bytes, QObject* parent) : RecordObject(parent)
{
    QDataStream stream(bytes);
    readValue(stream, userName);
    readValue(stream, firstName);
    readValue(stream, lastName);
    readDate(stream, dateOfBirth);
    QString localeCodes;
    readValue(stream, localeCodes);
    splitLocaleCodes(localeCodes, languageAsString, countryAsString);
    readValue(stream, securityQuestion);
    readEnumeration<qint16>(stream, language, QLocale::LastLanguage);
    readEnumeration<qint16>(stream, country, QLocale::LastCountry);
    qint16 genderNumber = GenderNotGiven;
    readValue(stream, genderNumber);
    gender = static_cast<Gender>(genderNumber); // any other number is a gender that is unknown
    readServices(stream, services);
    readValue(stream, securityQuestionId);
    readValue(stream, securityAnswer);
    readAccount(readBlock(stream), account);
    readConsent(readBlock(stream), consent);
    contacts = ContactsInfo(readBlock(stream));
}

void ProfileInfoData::serialize(QByteArray& bytes) const
{
    bytes.clear();
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << userName << firstName << lastName << dateOfBirth
           << joinLocaleCodes(languageAsString, countryAsString) << securityQuestion;
    stream << static_cast<qint16>(language) << static_cast<qint16>(country)
           << genderNumberOf(gender);
    stream << static_cast<qint32>(services.size());
    for (const QString& service : services)
        stream << service;
    stream << securityQuestionId << securityAnswer;
    writeBlock(stream, block(account.accountId, account.mobile, account.email,
                             account.emailVerified, account.mobileVerified));
    writeBlock(stream, block(consent.email, consent.mobile));
    writeBlock(stream, contacts.serialize());
}

} // namespace KelRestHandler
