// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/profileinfo.h>

namespace KelAccount {

struct ProfileInfo::Fields
{
    QString userName;
    QString mobilePhoneNumber;
    QString emailAddress;
    bool emailVerified = false;
    bool mobilePhoneVerified = false;
    QString securityQuestion;
    QString securityQuestionId;
    QString securityAnswer;
    QDate dateOfBirth;
    QString firstName;
    QString lastName;
    QString languageAsString;
    QString countryAsString;
    QStringList serviceList;
    bool marketingInfo = false;
};

ProfileInfo::ProfileInfo(QObject* parent) : QObject(parent), mFields(std::make_unique<Fields>())
{
}

ProfileInfo::ProfileInfo(const ProfileInfo& other, QObject* parent)
    : QObject(parent), mFields(std::make_unique<Fields>(*other.mFields))
{
}

ProfileInfo& ProfileInfo::operator=(const ProfileInfo& other)
{
    if (this != &other)
        *mFields = *other.mFields;
    return *this;
}

ProfileInfo::~ProfileInfo() = default;

QString ProfileInfo::userName() const
{
    return mFields->userName;
}

void ProfileInfo::setUsername(const QString& userName)
{
    mFields->userName = userName;
}

QString ProfileInfo::mobilePhoneNumber() const
{
    return mFields->mobilePhoneNumber;
}

void ProfileInfo::setMobilePhoneNumber(const QString& mobilePhoneNumber)
{
    mFields->mobilePhoneNumber = mobilePhoneNumber;
}

QString ProfileInfo::emailAddress() const
{
    return mFields->emailAddress;
}

void ProfileInfo::setEmailAddress(const QString& emailAddress)
{
    mFields->emailAddress = emailAddress;
}

bool ProfileInfo::emailVerified() const
{
    return mFields->emailVerified;
}

void ProfileInfo::setEmailVerified(bool emailVerified)
{
    mFields->emailVerified = emailVerified;
}

bool ProfileInfo::mobilePhoneVerified() const
{
    return mFields->mobilePhoneVerified;
}

void ProfileInfo::setMobilePhoneVerified(bool mobilePhoneVerified)
{
    mFields->mobilePhoneVerified = mobilePhoneVerified;
}

QString ProfileInfo::securityQuestion() const
{
    return mFields->securityQuestion;
}

void ProfileInfo::setSecurityQuestion(const QString& securityQuestion)
{
    mFields->securityQuestion = securityQuestion;
}

QString ProfileInfo::securityQuestionId() const
{
    return mFields->securityQuestionId;
}

void ProfileInfo::setSecurityQuestionId(const QString& securityQuestionId)
{
    mFields->securityQuestionId = securityQuestionId;
}

QString ProfileInfo::securityAnswer() const
{
    return mFields->securityAnswer;
}

void ProfileInfo::setSecurityAnswer(const QString& securityAnswer)
{
    mFields->securityAnswer = securityAnswer;
}

QDate ProfileInfo::dateOfBirth() const
{
    return mFields->dateOfBirth;
}

void ProfileInfo::setDateOfBirth(const QDate& dateOfBirth)
{
    mFields->dateOfBirth = dateOfBirth;
}

QString ProfileInfo::firstName() const
{
    return mFields->firstName;
}

void ProfileInfo::setFirstName(const QString& firstName)
{
    mFields->firstName = firstName;
}

QString ProfileInfo::lastName() const
{
    return mFields->lastName;
}

void ProfileInfo::setLastName(const QString& lastName)
{
    mFields->lastName = lastName;
}

QString ProfileInfo::languageAsString() const
{
    return mFields->languageAsString;
}

void ProfileInfo::setLanguageAsString(const QString& languageAsString)
{
    mFields->languageAsString = languageAsString;
}

QString ProfileInfo::countryAsString() const
{
    return mFields->countryAsString;
}

void ProfileInfo::setCountryAsString(const QString& countryAsString)
{
    mFields->countryAsString = countryAsString;
}

QStringList ProfileInfo::serviceList() const
{
    return mFields->serviceList;
}

void ProfileInfo::setServiceList(const QStringList& serviceList)
{
    mFields->serviceList = serviceList;
}

bool ProfileInfo::marketingInfo() const
{
    return mFields->marketingInfo;
}

void ProfileInfo::setMarketingInfo(bool marketingInfo)
{
    mFields->marketingInfo = marketingInfo;
}

void ProfileInfo::clearData()
{
    mFields->userName.clear();
    mFields->mobilePhoneNumber.clear();
    mFields->emailAddress.clear();
    mFields->securityQuestion.clear();
    mFields->securityQuestionId.clear();
    mFields->securityAnswer.clear();
    mFields->firstName.clear();
    mFields->lastName.clear();
    mFields->languageAsString.clear();
    mFields->countryAsString.clear();
    mFields->serviceList.clear();
    mFields->marketingInfo = false;
}

} // namespace KelAccount

// Here, so that all of the class is in one translation unit, as the check of its binary interface
// needs it.
#include "kelaccount/moc_profileinfo.cpp"
