// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"

#include <QByteArray>
#include <QDate>
#include <QLocale>
#include <QString>

namespace KelRestHandler {

/// What is sent to register an account, in the order in which it is serialised for the
/// authentication plugin.
struct RegistrationInfoData
{
    QString userName;
    QString captchaText;
    KelAccount::SecretText password; ///< a secret
    QString mobilePhoneNumber;
    QString emailAddress;
    QString securityQuestion;              ///< identifier of the chosen question
    KelAccount::SecretText securityAnswer; ///< a secret
    QDate dateOfBirth;
    QString firstName;
    QString lastName;
    QString countryAsString;
    // Places that the plugin reads and nothing here fills.
    int reservedNumber = 0;
    bool reservedFlag1 = false;
    bool reservedFlag2 = false;
    QString languageAsString;
    QLocale::Language language = QLocale::C;
    QLocale::Country country = QLocale::AnyCountry;
    int reservedNumber2 = 0; // one more place that nothing fills
    bool marketingInfoOnMobile = false;
    bool marketingInfoOnEmail = false;
    QString captchaId;
    QByteArray serviceTag;
};

/// The record as the authentication plugin reads it.
QByteArray serializeRegistration(const RegistrationInfoData& registration);

/// Reads what serializeRegistration() wrote. Of cut or damaged bytes it keeps the fields before the
/// damage; the others have their defaults.
RegistrationInfoData readRegistration(const QByteArray& bytes);

} // namespace KelRestHandler
