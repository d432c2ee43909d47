// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/profileinfodata.h"

#include "rest/records/datablock.h"

namespace KelRestHandler {

namespace {

// The record has one place for the code texts of language and country together. No XML document can
// contain the character between them, so none that came from the service can be taken for it.
constexpr QChar localeSeparator(0x1F);

template <class... Values>
QByteArray block(const Values&... values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    (stream << ... << values);
    return bytes;
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
    const int separator = localeCodes.indexOf(localeSeparator);
    languageAsString = localeCodes.left(separator);
    countryAsString = separator < 0 ? QString() : localeCodes.mid(separator + 1);
    readValue(stream, securityQuestion);
    readEnumeration<qint16>(stream, language, QLocale::LastLanguage);
    readEnumeration<qint16>(stream, country, QLocale::LastCountry);
    readEnumeration<qint16>(stream, gender, GenderFemale);
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
           << languageAsString + localeSeparator + countryAsString << securityQuestion;
    stream << static_cast<qint16>(language) << static_cast<qint16>(country)
           << static_cast<qint16>(gender);
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
