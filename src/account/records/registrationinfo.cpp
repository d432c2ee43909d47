// SPDX-License-Identifier: LGPL-2.1-or-later
#include <kelaccount/registrationinfo.h>

namespace KelAccount {

struct RegistrationInfo::Fields
{
    QString userName;
    QString captchaText;
    QString captchaId;
    QString password;
    QString mobilePhoneNumber;
    QString emailAddress;
    QString languageAsString;
    QString countryAsString;
    QDate dateOfBirth;
    QString firstName;
    QString lastName;
    bool marketingInfo = false;
    bool marketingInfoOnMobile = false;
    bool marketingInfoOnEmail = false;
    QString securityQuestion;
    QString securityAnswer;
    QLocale::Language language = QLocale::C;
    QLocale::Country country = QLocale::AnyCountry;
    Gender gender = GenderNotGiven;
};

RegistrationInfo::RegistrationInfo(QObject* parent)
    : QObject(parent), mFields(std::make_unique<Fields>())
{
}

RegistrationInfo::RegistrationInfo(const RegistrationInfo& other, QObject* parent)
    : QObject(parent), mFields(std::make_unique<Fields>(*other.mFields))
{
}

RegistrationInfo& RegistrationInfo::operator=(const RegistrationInfo& other)
{
    if (this != &other)
        *mFields = *other.mFields;
    return *this;
}

RegistrationInfo::~RegistrationInfo() = default;

QString RegistrationInfo::userName() const
{
    return mFields->userName;
}

void RegistrationInfo::setUsername(const QString& userName)
{
    mFields->userName = userName;
}

QString RegistrationInfo::captchaText() const
{
    return mFields->captchaText;
}

void RegistrationInfo::setCaptchaText(const QString& captchaText)
{
    mFields->captchaText = captchaText;
}

QString RegistrationInfo::captchaId() const
{
    return mFields->captchaId;
}

void RegistrationInfo::setCaptchaId(const QString& captchaId)
{
    mFields->captchaId = captchaId;
}

QString RegistrationInfo::password() const
{
    return mFields->password;
}

void RegistrationInfo::setPassword(const QString& password)
{
    mFields->password = password;
}

QString RegistrationInfo::mobilePhoneNumber() const
{
    return mFields->mobilePhoneNumber;
}

void RegistrationInfo::setMobilePhoneNumber(const QString& mobilePhoneNumber)
{
    mFields->mobilePhoneNumber = mobilePhoneNumber;
}

QString RegistrationInfo::emailAddress() const
{
    return mFields->emailAddress;
}

void RegistrationInfo::setEmailAddress(const QString& emailAddress)
{
    mFields->emailAddress = emailAddress;
}

QString RegistrationInfo::languageAsString() const
{
    return mFields->languageAsString;
}

void RegistrationInfo::setLanguage(const QString& languageAsString)
{
    mFields->languageAsString = languageAsString;
}

QString RegistrationInfo::countryAsString() const
{
    return mFields->countryAsString;
}

void RegistrationInfo::setCountry(const QString& countryAsString)
{
    mFields->countryAsString = countryAsString;
}

QDate RegistrationInfo::dateOfBirth() const
{
    return mFields->dateOfBirth;
}

void RegistrationInfo::setDateOfBirth(const QDate& dateOfBirth)
{
    mFields->dateOfBirth = dateOfBirth;
}

QString RegistrationInfo::firstName() const
{
    return mFields->firstName;
}

void RegistrationInfo::setFirstName(const QString& firstName)
{
    mFields->firstName = firstName;
}

QString RegistrationInfo::lastName() const
{
    return mFields->lastName;
}

void RegistrationInfo::setLastName(const QString& lastName)
{
    mFields->lastName = lastName;
}

bool RegistrationInfo::marketingInfo() const
{
    return mFields->marketingInfo;
}

void RegistrationInfo::setMarketingInfo(bool marketingInfo)
{
    mFields->marketingInfo = marketingInfo;
}

bool RegistrationInfo::marketingInfoOnMobile() const
{
    return mFields->marketingInfoOnMobile;
}

void RegistrationInfo::setMarketingInfoOnMobile(bool marketingInfoOnMobile)
{
    mFields->marketingInfoOnMobile = marketingInfoOnMobile;
}

bool RegistrationInfo::marketingInfoOnEmail() const
{
    return mFields->marketingInfoOnEmail;
}

void RegistrationInfo::setMarketingInfoOnEmail(bool marketingInfoOnEmail)
{
    mFields->marketingInfoOnEmail = marketingInfoOnEmail;
}

QString RegistrationInfo::securityQuestion() const
{
    return mFields->securityQuestion;
}

void RegistrationInfo::setSecurityQuestion(const QString& securityQuestion)
{
    mFields->securityQuestion = securityQuestion;
}

QString RegistrationInfo::securityAnswer() const
{
    return mFields->securityAnswer;
}

void RegistrationInfo::setSecurityAnswer(const QString& securityAnswer)
{
    mFields->securityAnswer = securityAnswer;
}

QLocale::Language RegistrationInfo::language() const
{
    return mFields->language;
}

void RegistrationInfo::setLanguage(const QLocale::Language& language)
{
    mFields->language = language;
}

QLocale::Country RegistrationInfo::country() const
{
    return mFields->country;
}

void RegistrationInfo::setCountry(const QLocale::Country& country)
{
    mFields->country = country;
}

Gender RegistrationInfo::gender() const
{
    return mFields->gender;
}

void RegistrationInfo::setGender(Gender gender)
{
    mFields->gender = gender;
}

QString RegistrationInfo::getServiceId()
{
    return QStringLiteral("OneConsent");
}

void RegistrationInfo::clearData()
{
    *mFields = Fields();
}

} // namespace KelAccount

// Here, so that all of the class is in one translation unit, as the check of its binary interface
// needs it.
#include "kelaccount/moc_registrationinfo.cpp"
