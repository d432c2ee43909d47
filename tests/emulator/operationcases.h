// SPDX-License-Identifier: LGPL-2.1-or-later
// Documents of every operation, typed in by hand.
#pragma once

#include <QByteArray>
#include <QVector>

/// A good document of an operation.
struct DocumentCase
{
    int operation;
    const char* name;
    const char* root;
    const char* content;
    /// Elements that may be left out alone, separated by blanks.
    const char* optional;
};

inline const QVector<DocumentCase>& documentCases()
{
    static const QVector<DocumentCase> cases = {
        {1, "token", "tokenCreationRequest",
         "<digestAuth><username>alice</username><nonce>{n}</nonce><created>1330837567</created>"
         "<digest>2jmj7l5rSw0yVb/vlWAYkK/YBwk=</digest></digestAuth><checkTerms>true</checkTerms>",
         ""},
        {4, "captcha", "captchaCreationRequest", "<width>200</width><height>60</height>", ""},
        {5, "registration, all", "registrationRequest",
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><username>somebody</username>"
         "<userData><mobile>+358401234567</mobile><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><passwordQuestion>3</passwordQuestion>"
         "<passwordAnswer>Rex</passwordAnswer><language>fi</language><country>FI</country>"
         "<dateOfBirth>1980-02-09</dateOfBirth><firstName>J</firstName><lastName>B</lastName>"
         "</userData><marketingConsent><email>true</email><mobile>false</mobile>"
         "<serviceId>OneConsent</serviceId></marketingConsent>",
         "username mobile email passwordQuestion passwordAnswer language dateOfBirth firstName "
         "lastName"},
        {5, "registration, service tag", "registrationRequest",
         "<serviceTag>dGFn</serviceTag><userData><password>U2VjcmV0IDEh</password>"
         "<country></country></userData><marketingConsent><email>false</email>"
         "<mobile>true</mobile><serviceId>OneConsent</serviceId></marketingConsent>",
         "serviceTag"},
        {5, "phone activation", "phoneActivationRegistrationRequest",
         "<captchaId></captchaId><imageText>xk7Qp</imageText>"
         "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"
         "<mnc>05</mnc><hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN>"
         "<username>somebody</username><userData><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><country>FI</country></userData><marketingConsent>"
         "<email>true</email><mobile>true</mobile><serviceId>OneConsent</serviceId>"
         "</marketingConsent>",
         "username email"},
        {7, "detection", "autoDetectionRequest",
         "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"
         "<mnc>05</mnc><hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN>",
         ""},
        {10, "recovery, message", "simplifiedSendRecoveryMessageRequest",
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><messageBody>Hello</messageBody>"
         "<returnUrl>https://site.example/back</returnUrl>",
         "returnUrl"},
        {10, "recovery, plain token", "simplifiedSendRecoveryMessageRequest",
         "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>", "serviceTag"},
        {10, "recovery, empty message", "simplifiedSendRecoveryMessageRequest",
         "<serviceTag>dGFn</serviceTag><messageBody></messageBody>", "serviceTag"},
        {11, "e-mail", "emailAvailabilityRequest",
         "<email>a@b.example</email><serviceTag>dGFn</serviceTag>", ""},
        {12, "variant", "consentQueryVariantRequest",
         "<mobilePhoneSerialNumber></mobilePhoneSerialNumber><mcc>262</mcc><mnc></mnc>"
         "<hashedMSIN>not base64</hashedMSIN>",
         ""},
        {13, "reset", "simplifiedChangePasswordRequest",
         "<securityToken>t</securityToken><newPassword>U2VjcmV0IDEh</newPassword>"
         "<passwordQuestionAnswer>Rex</passwordQuestionAnswer>",
         "securityToken newPassword passwordQuestionAnswer"},
        {15, "password", "profileUpdateRequest",
         "<userData><password>U2VjcmV0IDEh</password></userData>", ""},
        {17, "consent", "marketingConsentUpdateRequest",
         "<marketingConsent><email>true</email><mobile>false</mobile></marketingConsent>", ""},
        {19, "contacts", "contactsUpdateRequest",
         "<mobileContacts><mobileContact><mobileNumber>+358401234567</mobileNumber>"
         "<preferred>true</preferred></mobileContact><mobileContact>"
         "<mobileNumber>+358407654321</mobileNumber><preferred>false</preferred></mobileContact>"
         "</mobileContacts><emailContacts><emailContact><emailAddress>a@b.example</emailAddress>"
         "<preferred>true</preferred></emailContact></emailContacts>",
         "mobileContact emailContact"},
        {21, "terms", "termsUpdateRequest",
         "<hasAcceptedTos>true</hasAcceptedTos>"
         "<hasAcceptedServiceSpecificTos>false</hasAcceptedServiceSpecificTos>"
         "<hasAcceptedPrivacyPolicy>true</hasAcceptedPrivacyPolicy>",
         ""},
        {23, "profile", "profileUpdateRequest",
         "<userData><mobile>+358401234567</mobile><email>a@b.example</email>"
         "<language>sv</language><country>SE</country><dateOfBirth>1980-02-09</dateOfBirth>"
         "<firstName>J</firstName><lastName></lastName><gender>female</gender></userData>",
         "language country dateOfBirth gender"},
        {24, "question", "profileUpdateRequest",
         "<userData><passwordQuestion>3</passwordQuestion><passwordAnswer>Rex</passwordAnswer>"
         "</userData>",
         "passwordQuestion passwordAnswer"},
        {25, "user name", "profileUpdateRequest", "<username>new</username><userData></userData>",
         ""},
        {26, "devices", "devicesUpdateRequest",
         "<preAccountId>p</preAccountId><deviceInformation>"
         "<mobilePhoneSerialNumber>1</mobilePhoneSerialNumber><mcc>244</mcc><mnc>05</mnc>"
         "<hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN></deviceInformation>",
         "preAccountId"},
    };
    return cases;
}
