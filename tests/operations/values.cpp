// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/values.h"
#include "support/literals.h"

namespace operations {

RegistrationInfoData fullRegistration()
{
    RegistrationInfoData data;
    data.userName = "somebody"_s;
    data.captchaText = imageText;
    data.password = password;
    data.mobilePhoneNumber = mobile;
    data.emailAddress = internationalAddress;
    data.securityQuestion = "3"_s;
    data.securityAnswer = "Rex"_s;
    data.dateOfBirth = QDate(1980, 2, 9);
    data.firstName = "Jörg"_s;
    data.lastName = "Bücher"_s;
    data.countryAsString = "FI"_s;
    data.languageAsString = "fi"_s;
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
    profile.setLanguage("fi"_s);
    profile.setLanguage(QLocale::Swedish);
    profile.setCountry("FI"_s);
    profile.setCountry(QLocale::Sweden);
    profile.setDateOfBirth(QDate(1980, 2, 9));
    profile.setFirstName("Jörg"_s);
    profile.setLastName("Bücher"_s);
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
    profile.setSecurityQuestion("The question's text is not sent"_s);
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
    contacts.mobileContacts = {{mobile, true, true}, {"+358407654321"_s, false, true}};
    contacts.emailContacts = {{internationalAddress, true, false}};
    return contacts;
}

Values Values::placeholders()
{
    Values v;
    v.token = "{token}"_s;
    v.userName = "{user name}"_s;
    v.userId = "{user}"_s;
    v.accountId = "{account}"_s;
    v.serviceId = "{service}"_s;
    v.termsId = "{terms}"_s;
    v.language = "{language}"_s;
    v.country = "{country}"_s;
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
