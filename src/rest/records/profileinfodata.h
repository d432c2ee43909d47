// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/accountinfodata.h"
#include "rest/records/contactsinfo.h"
#include "rest/records/plainrecords.h"
#include "rest/records/recordobject.h"

#include <QByteArray>
#include <QDate>
#include <QLocale>
#include <QString>
#include <QStringList>

namespace KelRestHandler {

/// What the service tells apart. A profile keeps any other number, too, and says "unknown" for it.
enum Gender : int {
    GenderNotGiven = 0,
    GenderMale = 1,
    GenderFemale = 2,
};

struct ProfileInfoFields
{
    QString userName;
    QString securityQuestion; ///< the question's text
    QString securityQuestionId;
    QString securityAnswer; ///< a secret
    QLocale::Language language = QLocale::C;
    QString languageAsString;
    QLocale::Country country = QLocale::AnyCountry;
    QString countryAsString;
    QDate dateOfBirth;
    QString firstName;
    QString lastName;
    Gender gender = GenderNotGiven;
    QStringList services;
    /// Identifier, mobile number and e-mail address, and whether the last two are verified.
    AccountInfoFields account;
    MarketingConsentInfo consent;
    ContactsInfo contacts;
};

/// A user's profile, as the service keeps it.
class ProfileInfoData : public RecordObject<ProfileInfoFields>
{
    Q_OBJECT

public:
    using RecordObject::RecordObject;
    ProfileInfoData(const ProfileInfoData& other, QObject* parent) : RecordObject(other, parent) {}
    /// Reads what serialize() wrote. Of cut or damaged bytes it keeps the fields before the damage;
    /// the others have their defaults.
    explicit ProfileInfoData(const QByteArray& bytes, QObject* parent = nullptr);

    /// Replaces `bytes` with the serialised profile.
    void serialize(QByteArray& bytes) const;
};

} // namespace KelRestHandler
