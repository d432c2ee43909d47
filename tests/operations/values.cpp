// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/values.h"

namespace operations {

RegistrationInfoData fullRegistration()
{
    RegistrationInfoData data;
    data.userName = QStringLiteral("somebody");
    data.captchaText = imageText;
    data.password = password;
    data.mobilePhoneNumber = mobile;
    data.emailAddress = internationalAddress;
    data.securityQuestion = QStringLiteral("3");
    data.securityAnswer = QStringLiteral("Rex");
    data.dateOfBirth = QDate(1980, 2, 9);
    data.firstName = QString::fromUtf8("Jörg");
    data.lastName = QString::fromUtf8("Bücher");
    data.countryAsString = QStringLiteral("FI");
    data.languageAsString = QStringLiteral("fi");
    // The texts win over these.
    data.country = QLocale::Sweden;
    data.language = QLocale::Swedish;
    data.marketingInfoOnEmail = true;
    return data;
}

ProfileInfo fullProfile()
{
    ProfileInfo profile;
    profile.setMobilePhoneNumber(mobile);
    profile.setEmailAddress(internationalAddress);
    profile.setLanguage(QStringLiteral("fi"));
    profile.setLanguage(QLocale::Swedish);
    profile.setCountry(QStringLiteral("FI"));
    profile.setCountry(QLocale::Sweden);
    profile.setDateOfBirth(QDate(1980, 2, 9));
    profile.setFirstName(QString::fromUtf8("Jörg"));
    profile.setLastName(QString::fromUtf8("Bücher"));
    profile.setGender(GenderMale);
    return profile;
}

static void setQuestion(ProfileInfo& profile, const char* questionId, const char* answer)
{
    profile.setSecurityQuestionId(QLatin1String(questionId));
    profile.setSecurityAnswer(QLatin1String(answer));
}

ProfileInfo profileWithQuestion(const char* questionId, const char* answer)
{
    ProfileInfo profile;
    profile.setSecurityQuestion(QStringLiteral("The question's text is not sent"));
    setQuestion(profile, questionId, answer);
    return profile;
}

ProfileInfo fullProfileWithQuestion()
{
    ProfileInfo profile = fullProfile();
    setQuestion(profile, "3", "Rex");
    return profile;
}

ContactsInfo threeContacts()
{
    ContactsInfo contacts;
    contacts.mobileContacts = {{mobile, true, true},
                               {QStringLiteral("+358407654321"), false, true}};
    contacts.emailContacts = {{internationalAddress, true, false}};
    return contacts;
}

Values Values::placeholders()
{
    Values v;
    v.token = QStringLiteral("{token}");
    v.userName = QStringLiteral("{user name}");
    v.userId = QStringLiteral("{user}");
    v.accountId = QStringLiteral("{account}");
    v.serviceId = QStringLiteral("{service}");
    v.termsId = QStringLiteral("{terms}");
    v.language = QStringLiteral("{language}");
    v.country = QStringLiteral("{country}");
    v.format = TermsFormatText;
    return v;
}

Values Values::filledWith(const QString& text)
{
    Values v;
    for (const auto field : texts())
        v.*field = text;
    v.serviceTag = text.toUtf8();
    return v;
}

QVector<QString Values::*> Values::texts()
{
    using V = Values;
    return {&V::token,        &V::userName,      &V::password,    &V::accountId,
            &V::captchaId,    &V::captchaText,   &V::userId,      &V::messageBody,
            &V::emailAddress, &V::securityToken, &V::newPassword, &V::securityAnswer,
            &V::language,     &V::country,       &V::serviceId,   &V::termsId,
            &V::newUserName};
}

} // namespace operations
