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

const QVector<Body>& bodies()
{
    static const QVector<Body> written = {
        {"signin/user-name",
         [] {
             return MsgCreator::xmlTokenCreation("somebody"_s, password,
                                                 "2012-03-04T05:06:07.089Z"_s);
         }},
        {"signin/international-address",
         [] { return MsgCreator::xmlTokenCreation(internationalAddress, password, QString()); }},
        {"captcha/picture-size", [] { return MsgCreator::xmlCaptchaCreation(320, 80); }},
        {"captcha/no-size", [] { return MsgCreator::xmlCaptchaCreation(0, 0); }},
        {"preaccount/whole-device",
         [] { return MsgCreator::xmlDetectPreAccount(imei, mcc, mnc, msin()); }},
        {"preaccount/nothing-known",
         [] { return MsgCreator::xmlDetectPreAccount({}, {}, {}, {}); }},
        {"consentvariant/whole-device",
         [] {
             return MsgCreator::xmlConsentQueryVariant("not written"_s, imei, mcc, mnc,
                                                       "qZk+NkcGgWq6PiVxeFDCbJzQ2J0=");
         }},
        {"consentvariant/nothing-known",
         [] { return MsgCreator::xmlConsentQueryVariant({}, {}, {}, {}, {}); }},
        {"deviceinfo/with-pre-account",
         [] { return MsgCreator::xmlUpdateDeviceInfo("pre-17"_s, imei, mcc, mnc, msin()); }},
        {"deviceinfo/nothing-known",
         [] { return MsgCreator::xmlUpdateDeviceInfo({}, {}, {}, {}, {}); }},
        {"emailavailability/with-service-tag",
         [] { return MsgCreator::xmlEmailAvailability("somebody@mail.example"_s, tag()); }},
        {"emailavailability/without-service-tag",
         [] { return MsgCreator::xmlEmailAvailability(internationalAddress, {}); }},
        {"registration/everything",
         [] { return MsgCreator::xmlRegistration(fullRegistration(), captchaId, tag()); }},
        {"registration/nothing", [] { return MsgCreator::xmlRegistration({}, captchaId, {}); }},
        {"registration/service-tag",
         [] {
             return MsgCreator::xmlRegistration(registrationWithEnumerations(), captchaId, tag());
         }},
        {"registration/captcha-without-id",
         [] { return MsgCreator::xmlRegistration(registrationWithCaptchaText(), {}, tag()); }},
        {"registration/markup-in-values",
         [] { return MsgCreator::xmlRegistration(registrationWithMarkup(), "a&b"_s, {}); }},
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
        {"usernameupdate/new-name", [] { return MsgCreator::xmlUpdateUserName("newname"_s); }},
        {"usernameupdate/no-name", [] { return MsgCreator::xmlUpdateUserName({}); }},
        {"passwordchange/new-password", [] { return MsgCreator::xmlChangePassword(password); }},
        {"passwordreset/token-password-answer",
         [] { return MsgCreator::xmlChangePasswordRequest("reset-token-5"_s, password, "Rex"_s); }},
        {"passwordreset/nothing", [] { return MsgCreator::xmlChangePasswordRequest({}, {}, {}); }},
        {"recoverymessage/captcha-and-message",
         [] {
             return MsgCreator::xmlSimpleResetMessage(captchaId, imageText, true, message,
                                                      returnUrl, tag());
         }},
        {"recoverymessage/service-tag-and-message",
         [] { return MsgCreator::xmlSimpleResetMessage(captchaId, {}, true, message, {}, tag()); }},
        {"recoverymessage/empty-message",
         [] { return MsgCreator::xmlSimpleResetMessage(captchaId, {}, true, {}, returnUrl, {}); }},
        {"recoverymessage/plain-token",
         [] {
             return MsgCreator::xmlSimpleResetMessage({}, imageText, false, message, returnUrl,
                                                      tag());
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
    return written;
}

} // namespace operations
