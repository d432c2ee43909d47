// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/records/registrationinfodata.h"

#include "rest/records/datablock.h"

#include <initializer_list>

namespace KelRestHandler {

namespace {

constexpr int usualLength = 2048;

} // namespace

QByteArray serializeRegistration(const RegistrationInfoData& registration)
{
    QByteArray bytes;
    bytes.reserve(usualLength); // growing would leave the password behind
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << registration.userName << registration.captchaText << registration.password
           << registration.mobilePhoneNumber << registration.emailAddress
           << registration.securityQuestion << registration.securityAnswer
           << registration.dateOfBirth << registration.firstName << registration.lastName
           << registration.countryAsString << static_cast<qint32>(registration.reservedNumber)
           << registration.reservedFlag1 << registration.reservedFlag2
           << registration.languageAsString << static_cast<qint32>(registration.language)
           << static_cast<qint32>(registration.country)
           << static_cast<qint32>(registration.reservedNumber2)
           << registration.marketingInfoOnMobile << registration.marketingInfoOnEmail
           << registration.captchaId << registration.serviceTag;
    return bytes;
}

RegistrationInfoData readRegistration(const QByteArray& bytes)
{
    RegistrationInfoData registration;
    QDataStream stream(bytes);
    for (QString* text : std::initializer_list<QString*>{
             &registration.userName, &registration.captchaText, &registration.password,
             &registration.mobilePhoneNumber, &registration.emailAddress,
             &registration.securityQuestion, &registration.securityAnswer})
        readValue(stream, *text);
    readDate(stream, registration.dateOfBirth);
    for (QString* text :
         {&registration.firstName, &registration.lastName, &registration.countryAsString})
        readValue(stream, *text);
    readValue(stream, registration.reservedNumber);
    readValue(stream, registration.reservedFlag1);
    readValue(stream, registration.reservedFlag2);
    readValue(stream, registration.languageAsString);
    readEnumeration<qint32>(stream, registration.language, QLocale::LastLanguage);
    readEnumeration<qint32>(stream, registration.country, QLocale::LastCountry);
    readValue(stream, registration.reservedNumber2);
    readValue(stream, registration.marketingInfoOnMobile);
    readValue(stream, registration.marketingInfoOnEmail);
    readValue(stream, registration.captchaId);
    readValue(stream, registration.serviceTag);
    return registration;
}

} // namespace KelRestHandler
