// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/bodies.h"

#include "rest/request/msgcreator.h"
#include "support/literals.h"

namespace operations {

namespace {

const auto imei = "490154203237518"_s;
const auto mcc = "244"_s;
const auto mnc = "91"_s;
const auto returnUrl = "https://app.example/back?a=1&b=2"_s;

// Bytes that are neither ASCII nor UTF-8: they can only travel as Base64.
QByteArray msin()
{
    return "\x00\xff\xfe"
           "a"_ba;
}

RegistrationInfoData registrationWithEnumerations()
{
    RegistrationInfoData data;
    data.mobilePhoneNumber = mobile;
    data.password = "äö"_s;
    data.language = QLocale::German;
    data.country = QLocale::Germany;
    data.marketingInfoOnMobile = true;
    return data;
}

RegistrationInfoData registrationWithMarkup()
{
    RegistrationInfoData data;
    data.captchaText = "</imageText>"_s;
    data.userName = "a<b>c&amp;d\"e'f"_s;
    data.password = "<<&>>"_s;
    data.securityAnswer = "]]>"_s;
    data.countryAsString = "<!--"_s;
    data.firstName = "Tom & Jerry"_s;
    return data;
}

RegistrationInfoData registrationWithCaptchaText()
{
    RegistrationInfoData data;
    data.captchaText = imageText;
    return data;
}

ProfileInfo profileWithEnumerations()
{
    ProfileInfo profile;
    profile.setLanguage(QLocale::Swedish);
    profile.setCountry(QLocale::Sweden);
    profile.setGender(GenderFemale);
    return profile;
}

ProfileInfo profileWithGender(int gender)
{
    ProfileInfo profile;
    profile.setGender(static_cast<Gender>(gender));
    return profile;
}

} // namespace

QByteArray tag()
{
    return "tag-0123"_ba;
}

QVector<Body> bodies()
{
    using M = MsgCreator;
    return {
        {"signin/user-name",
         M::xmlTokenCreation("somebody"_s, password, "2012-03-04T05:06:07.089Z"_s)},
        {"signin/international-address",
         M::xmlTokenCreation(internationalAddress, password, QString())},
        {"captcha/picture-size", M::xmlCaptchaCreation(320, 80)},
        {"captcha/no-size", M::xmlCaptchaCreation(0, 0)},
        {"preaccount/whole-device", M::xmlDetectPreAccount(imei, mcc, mnc, msin())},
        {"preaccount/nothing-known", M::xmlDetectPreAccount({}, {}, {}, {})},
        {"consentvariant/whole-device", M::xmlConsentQueryVariant("not written"_s, imei, mcc, mnc,
                                                                  "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=")},
        {"consentvariant/nothing-known", M::xmlConsentQueryVariant({}, {}, {}, {}, {})},
        {"deviceinfo/with-pre-account", M::xmlUpdateDeviceInfo("pre-17"_s, imei, mcc, mnc, msin())},
        {"deviceinfo/nothing-known", M::xmlUpdateDeviceInfo({}, {}, {}, {}, {})},
        {"emailavailability/with-service-tag",
         M::xmlEmailAvailability("somebody@mail.example"_s, tag())},
        {"emailavailability/without-service-tag",
         M::xmlEmailAvailability(internationalAddress, {})},
        {"registration/everything", M::xmlRegistration(fullRegistration(), captchaId, tag())},
        {"registration/nothing", M::xmlRegistration({}, captchaId, {})},
        {"registration/service-tag",
         M::xmlRegistration(registrationWithEnumerations(), captchaId, tag())},
        {"registration/captcha-without-id",
         M::xmlRegistration(registrationWithCaptchaText(), {}, tag())},
        {"registration/markup-in-values",
         M::xmlRegistration(registrationWithMarkup(), "a&b"_s, {})},
        {"phoneactivation/everything",
         M::xmlPreRegistration(imei, mcc, mnc, msin(), captchaId, fullRegistration(), tag())},
        {"phoneactivation/service-tag",
         M::xmlPreRegistration({}, {}, {}, {}, captchaId, {}, tag())},
        {"phoneactivation/nothing", M::xmlPreRegistration({}, {}, {}, {}, captchaId, {}, {})},
        {"profileupdate/everything", M::xmlUpdateProfile(fullProfile())},
        {"profileupdate/nothing", M::xmlUpdateProfile(ProfileInfo())},
        {"profileupdate/enumerated-language-and-country",
         M::xmlUpdateProfile(profileWithEnumerations())},
        {"profileupdate/other-gender", M::xmlUpdateProfile(profileWithGender(3))},
        {"securityquestionupdate/question-and-answer",
         M::xmlUpdateSecurityQuestion(profileWithQuestion("3", "Rex"))},
        {"securityquestionupdate/question-only",
         M::xmlUpdateSecurityQuestion(profileWithQuestion("3", ""))},
        {"securityquestionupdate/answer-only",
         M::xmlUpdateSecurityQuestion(profileWithQuestion("", "Rex"))},
        {"securityquestionupdate/nothing",
         M::xmlUpdateSecurityQuestion(profileWithQuestion("", ""))},
        {"usernameupdate/new-name", M::xmlUpdateUserName("newname"_s)},
        {"usernameupdate/no-name", M::xmlUpdateUserName({})},
        {"passwordchange/new-password", M::xmlChangePassword(password)},
        {"passwordreset/token-password-answer",
         M::xmlChangePasswordRequest("reset-token-5"_s, password, "Rex"_s)},
        {"passwordreset/nothing", M::xmlChangePasswordRequest({}, {}, {})},
        {"recoverymessage/captcha-and-message",
         M::xmlSimpleResetMessage(captchaId, imageText, true, message, returnUrl, tag())},
        {"recoverymessage/service-tag-and-message",
         M::xmlSimpleResetMessage(captchaId, {}, true, message, {}, tag())},
        {"recoverymessage/empty-message",
         M::xmlSimpleResetMessage(captchaId, {}, true, {}, returnUrl, {})},
        {"recoverymessage/plain-token",
         M::xmlSimpleResetMessage({}, imageText, false, message, returnUrl, tag())},
        {"contactsupdate/three-contacts", M::xmlContactsInfoUpdate(threeContacts())},
        {"contactsupdate/no-contacts", M::xmlContactsInfoUpdate({})},
        {"marketingconsent/email-only", M::xmlUpdateMarketingConsent({true, false})},
        {"marketingconsent/mobile-only", M::xmlUpdateMarketingConsent({false, true})},
        {"termsacceptance/terms-only", M::xmlTermsAcceptance({true, false, false})},
        {"termsacceptance/service-terms-only", M::xmlTermsAcceptance({false, true, false})},
        {"termsacceptance/privacy-policy-only", M::xmlTermsAcceptance({false, false, true})},
    };
}

} // namespace operations
