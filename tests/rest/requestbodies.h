// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/msgcreator.h"

/// The bodies whose written form stands in data/, each with the values that it is made of.
namespace requestbodies {

using namespace KelRestHandler;

inline const auto imei = QStringLiteral("490154203237518");
inline const auto mcc = QStringLiteral("244");
inline const auto mnc = QStringLiteral("91");
inline const auto password = QStringLiteral("Secret 1!");
inline const auto captchaId = QStringLiteral("captcha-9");
inline const auto imageText = QStringLiteral("xk7Qp");
inline const auto mobile = QStringLiteral("+358401234567");
inline const auto message = QStringLiteral("Follow this link.");
inline const auto returnUrl = QStringLiteral("https://app.example/back?a=1&b=2");
inline const QString internationalAddress = QString::fromUtf8("jörg@bücher.example");

// Bytes that are neither ASCII nor UTF-8: they can only travel as Base64.
inline QByteArray msin()
{
    return QByteArrayLiteral("\x00\xff\xfe"
                             "a");
}

inline QByteArray tag()
{
    return QByteArrayLiteral("tag-0123");
}

inline RegistrationInfoData fullRegistration()
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

inline RegistrationInfoData registrationWithEnumerations()
{
    RegistrationInfoData data;
    data.mobilePhoneNumber = mobile;
    data.password = QString::fromUtf8("äö");
    data.language = QLocale::German;
    data.country = QLocale::Germany;
    data.marketingInfoOnMobile = true;
    return data;
}

inline RegistrationInfoData registrationWithMarkup()
{
    RegistrationInfoData data;
    data.captchaText = QStringLiteral("</imageText>");
    data.userName = QStringLiteral("a<b>c&amp;d\"e'f");
    data.password = QStringLiteral("<<&>>");
    data.securityAnswer = QStringLiteral("]]>");
    data.countryAsString = QStringLiteral("<!--");
    data.firstName = QStringLiteral("Tom & Jerry");
    return data;
}

inline RegistrationInfoData registrationWithCaptchaText()
{
    RegistrationInfoData data;
    data.captchaText = imageText;
    return data;
}

inline ProfileInfo fullProfile()
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

inline ProfileInfo profileWithEnumerations()
{
    ProfileInfo profile;
    profile.setLanguage(QLocale::Swedish);
    profile.setCountry(QLocale::Sweden);
    profile.setGender(GenderFemale);
    return profile;
}

inline ProfileInfo profileWithGender(int gender)
{
    ProfileInfo profile;
    profile.setGender(static_cast<Gender>(gender));
    return profile;
}

inline ProfileInfo profileWithQuestion(const char* questionId, const char* answer)
{
    ProfileInfo profile;
    profile.setSecurityQuestion(QStringLiteral("The question's text is not sent"));
    profile.setSecurityQuestionId(QLatin1String(questionId));
    profile.setSecurityAnswer(QLatin1String(answer));
    return profile;
}

inline ContactsInfo threeContacts()
{
    ContactsInfo contacts;
    contacts.mobileContacts = {{mobile, true, true},
                               {QStringLiteral("+358407654321"), false, true}};
    contacts.emailContacts = {{internationalAddress, true, false}};
    return contacts;
}

struct Body
{
    const char* name;
    QString (*make)();
};

inline const Body bodies[] = {
    {"signin/user-name",
     [] {
         return MsgCreator::xmlTokenCreation(QStringLiteral("somebody"), password,
                                             QStringLiteral("2012-03-04T05:06:07.089Z"));
     }},
    {"signin/international-address",
     [] { return MsgCreator::xmlTokenCreation(internationalAddress, password, QString()); }},
    {"captcha/picture-size", [] { return MsgCreator::xmlCaptchaCreation(320, 80); }},
    {"captcha/no-size", [] { return MsgCreator::xmlCaptchaCreation(0, 0); }},
    {"preaccount/whole-device",
     [] { return MsgCreator::xmlDetectPreAccount(imei, mcc, mnc, msin()); }},
    {"preaccount/nothing-known", [] { return MsgCreator::xmlDetectPreAccount({}, {}, {}, {}); }},
    {"consentvariant/whole-device",
     [] {
         return MsgCreator::xmlConsentQueryVariant(QStringLiteral("not written"), imei, mcc, mnc,
                                                   "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=");
     }},
    {"consentvariant/nothing-known",
     [] { return MsgCreator::xmlConsentQueryVariant({}, {}, {}, {}, {}); }},
    {"deviceinfo/with-pre-account",
     [] {
         return MsgCreator::xmlUpdateDeviceInfo(QStringLiteral("pre-17"), imei, mcc, mnc, msin());
     }},
    {"deviceinfo/nothing-known",
     [] { return MsgCreator::xmlUpdateDeviceInfo({}, {}, {}, {}, {}); }},
    {"emailavailability/with-service-tag",
     [] {
         return MsgCreator::xmlEmailAvailability(QStringLiteral("somebody@mail.example"), tag());
     }},
    {"emailavailability/without-service-tag",
     [] { return MsgCreator::xmlEmailAvailability(internationalAddress, {}); }},
    {"registration/everything",
     [] { return MsgCreator::xmlRegistration(fullRegistration(), captchaId, tag()); }},
    {"registration/nothing", [] { return MsgCreator::xmlRegistration({}, captchaId, {}); }},
    {"registration/service-tag",
     [] { return MsgCreator::xmlRegistration(registrationWithEnumerations(), captchaId, tag()); }},
    {"registration/captcha-without-id",
     [] { return MsgCreator::xmlRegistration(registrationWithCaptchaText(), {}, tag()); }},
    {"registration/markup-in-values",
     [] {
         return MsgCreator::xmlRegistration(registrationWithMarkup(), QStringLiteral("a&b"), {});
     }},
    {"phoneactivation/everything",
     [] {
         return MsgCreator::xmlPreRegistration(imei, mcc, mnc, msin(), captchaId,
                                               fullRegistration(), tag());
     }},
    {"phoneactivation/service-tag",
     [] { return MsgCreator::xmlPreRegistration({}, {}, {}, {}, captchaId, {}, tag()); }},
    {"phoneactivation/nothing",
     [] { return MsgCreator::xmlPreRegistration({}, {}, {}, {}, captchaId, {}, {}); }},
    {"profileupdate/everything", [] { return MsgCreator::xmlUpdateProfile(fullProfile()); }},
    {"profileupdate/nothing", [] { return MsgCreator::xmlUpdateProfile(ProfileInfo()); }},
    {"profileupdate/enumerated-language-and-country",
     [] { return MsgCreator::xmlUpdateProfile(profileWithEnumerations()); }},
    {"profileupdate/other-gender",
     [] { return MsgCreator::xmlUpdateProfile(profileWithGender(3)); }},
    {"securityquestionupdate/question-and-answer",
     [] { return MsgCreator::xmlUpdateSecurityQuestion(profileWithQuestion("3", "Rex")); }},
    {"securityquestionupdate/question-only",
     [] { return MsgCreator::xmlUpdateSecurityQuestion(profileWithQuestion("3", "")); }},
    {"securityquestionupdate/answer-only",
     [] { return MsgCreator::xmlUpdateSecurityQuestion(profileWithQuestion("", "Rex")); }},
    {"securityquestionupdate/nothing",
     [] { return MsgCreator::xmlUpdateSecurityQuestion(profileWithQuestion("", "")); }},
    {"usernameupdate/new-name",
     [] { return MsgCreator::xmlUpdateUserName(QStringLiteral("newname")); }},
    {"usernameupdate/no-name", [] { return MsgCreator::xmlUpdateUserName({}); }},
    {"passwordchange/new-password", [] { return MsgCreator::xmlChangePassword(password); }},
    {"passwordreset/token-password-answer",
     [] {
         return MsgCreator::xmlChangePasswordRequest(QStringLiteral("reset-token-5"), password,
                                                     QStringLiteral("Rex"));
     }},
    {"passwordreset/nothing", [] { return MsgCreator::xmlChangePasswordRequest({}, {}, {}); }},
    {"recoverymessage/captcha-and-message",
     [] {
         return MsgCreator::xmlSimpleResetMessage(captchaId, imageText, true, message, returnUrl,
                                                  tag());
     }},
    {"recoverymessage/service-tag-and-message",
     [] { return MsgCreator::xmlSimpleResetMessage(captchaId, {}, true, message, {}, tag()); }},
    {"recoverymessage/empty-message",
     [] { return MsgCreator::xmlSimpleResetMessage(captchaId, {}, true, {}, returnUrl, {}); }},
    {"recoverymessage/plain-token",
     [] {
         return MsgCreator::xmlSimpleResetMessage({}, imageText, false, message, returnUrl, tag());
     }},
    {"contactsupdate/three-contacts",
     [] { return MsgCreator::xmlContactsInfoUpdate(threeContacts()); }},
    {"contactsupdate/no-contacts", [] { return MsgCreator::xmlContactsInfoUpdate({}); }},
    {"marketingconsent/email-only",
     [] {
         return MsgCreator::xmlUpdateMarketingConsent({true, false});
     }},
    {"marketingconsent/mobile-only",
     [] {
         return MsgCreator::xmlUpdateMarketingConsent({false, true});
     }},
    {"termsacceptance/terms-only",
     [] {
         return MsgCreator::xmlTermsAcceptance({true, false, false});
     }},
    {"termsacceptance/service-terms-only",
     [] {
         return MsgCreator::xmlTermsAcceptance({false, true, false});
     }},
    {"termsacceptance/privacy-policy-only",
     [] {
         return MsgCreator::xmlTermsAcceptance({false, false, true});
     }},
};

} // namespace requestbodies
