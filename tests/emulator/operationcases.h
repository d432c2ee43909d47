// SPDX-License-Identifier: LGPL-2.1-or-later
// A good request of every operation, and documents of every form, typed in by hand.
#pragma once

#include <QByteArray>
#include <QVector>

struct OperationCase
{
    int operation;
    const char* name;
    const char* verb; ///< null for a row that is of the document alone
    const char* path; ///< "{id}", "{token}" stand for the account's
    const char* root; ///< of its document, null without one
    const char* content;
    const char* optional;  ///< elements that may be left out alone, separated by blanks
    const char* replyRoot; ///< null when the reply has no document

    bool isAsked() const { return verb; }
    bool hasDocument() const { return root; }
    /// It is the owner's who signed in then.
    bool needsToken() const { return isAsked() && QByteArray(path).contains('{'); }
};

#define KEL_DEVICE_FACTS                                                                           \
    "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"             \
    "<mnc>05</mnc><hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN>"
#define KEL_CONSENT                                                                                \
    "<marketingConsent><email>true</email><mobile>false</mobile>"                                  \
    "<serviceId>OneConsent</serviceId></marketingConsent>"

// The digest is SHA-1 of "ncsecret", by openssl. The order matters: the last ones that are asked
// end the token and change the name.
inline const QVector<OperationCase>& operationCases()
{
    static const QVector<OperationCase> cases = {
        {1, "token creation", "POST", "tokens", "tokenCreationRequest",
         "<digestAuth><username>alice</username><nonce>n</nonce><created>c</created>"
         "<digest>oW58lSglaieq/6hDoEaLchyqRF4=</digest></digestAuth><checkTerms>true</checkTerms>",
         "", "tokenCreationResponse"},
        {3, "user name availability", "GET", "availability/nobody", nullptr, "", "",
         "userNameAvailabilityResponse"},
        {4, "captcha", "POST", "captchas", "captchaCreationRequest",
         "<width>200</width><height>60</height>", "", "captchaCreationResponse"},
        {5, "registration", "POST", "accounts", "registrationRequest",
         "<serviceTag>dGFn</serviceTag><userData><email>new@mail.example</email>"
         "<password>U2VjcmV0IDEh</password><country></country></userData>" KEL_CONSENT,
         "serviceTag email", "registrationResponse"},
        {5, "registration, all", nullptr, nullptr, "registrationRequest",
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><username>somebody</username>"
         "<userData><mobile>+358401234567</mobile><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><passwordQuestion>3</passwordQuestion>"
         "<passwordAnswer>Rex</passwordAnswer><language>fi</language><country>FI</country>"
         "<dateOfBirth>1980-02-09</dateOfBirth><firstName>J</firstName><lastName>B</lastName>"
         "</userData>" KEL_CONSENT,
         "username mobile email passwordQuestion passwordAnswer language dateOfBirth firstName "
         "lastName",
         nullptr},
        {5, "phone activation", "POST", "phoneactivationregistration",
         "phoneActivationRegistrationRequest",
         "<serviceTag>dGFn</serviceTag>" KEL_DEVICE_FACTS
         "<userData><email>phone@mail.example</email><password>U2VjcmV0IDEh</password>"
         "<country>FI</country></userData>" KEL_CONSENT,
         "serviceTag email", "phoneActivationRegistrationResponse"},
        {5, "phone activation, captcha", nullptr, nullptr, "phoneActivationRegistrationRequest",
         "<captchaId></captchaId><imageText>xk7Qp</imageText>" KEL_DEVICE_FACTS
         "<username>somebody</username><userData><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><country>FI</country></userData>" KEL_CONSENT,
         "username email", nullptr},
        {6, "security questions", "GET", "securityquestions", nullptr, "", "",
         "securityQuestionsResponse"},
        {7, "detection", "POST", "autodetection", "autoDetectionRequest", KEL_DEVICE_FACTS, "",
         "autoDetectionResponse"},
        {8, "terms addresses", "GET", "services/music", nullptr, "", "", "serviceQueryResponse"},
        {10, "recovery", "POST", "simplifiedpasswordrecovery/alice/send",
         "simplifiedSendRecoveryMessageRequest",
         "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>", "serviceTag", nullptr},
        {10, "recovery, message", nullptr, nullptr, "simplifiedSendRecoveryMessageRequest",
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><messageBody>Hello</messageBody>"
         "<returnUrl>https://site.example/back</returnUrl>",
         "returnUrl", nullptr},
        {10, "recovery, empty message", nullptr, nullptr, "simplifiedSendRecoveryMessageRequest",
         "<serviceTag>dGFn</serviceTag><messageBody></messageBody>", "serviceTag", nullptr},
        {11, "e-mail availability", "POST", "emailavailability/", "emailAvailabilityRequest",
         "<email>free@mail.example</email><serviceTag>dGFn</serviceTag>", "", nullptr},
        {12, "consent variant", "POST", "consentqueryvariant", "consentQueryVariantRequest",
         "<mobilePhoneSerialNumber></mobilePhoneSerialNumber><mcc>262</mcc><mnc></mnc>"
         "<hashedMSIN>not base64</hashedMSIN>",
         "", "consentQueryVariantResponse"},
        {13, "reset", "PUT", "simplifiedpasswordrecovery/alice/change",
         "simplifiedChangePasswordRequest",
         "<securityToken>{recovery}</securityToken><newPassword>c2VjcmV0</newPassword>"
         "<passwordQuestionAnswer>Rex</passwordQuestionAnswer>",
         "securityToken newPassword passwordQuestionAnswer", "simplifiedChangePasswordResponse"},
        {14, "question of a user", "GET", "simplifiedpasswordrecovery/asked/question", nullptr, "",
         "", "simplifiedPasswordQuestionResponse"},
        {15, "password", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><password>c2VjcmV0</password></userData>", "", "profileUpdateResponse"},
        {16, "consent", "GET", "accounts/{id}/marketing", nullptr, "", "",
         "marketingConsentQueryResponse"},
        {17, "consent update", "PUT", "accounts/{id}/marketing", "marketingConsentUpdateRequest",
         "<marketingConsent><email>true</email><mobile>false</mobile></marketingConsent>", "",
         nullptr},
        {18, "contacts", "GET", "accounts/{id}/contacts", nullptr, "", "",
         "contactsUpdateResponse"},
        {19, "contacts update", "PUT", "accounts/{id}/contacts", "contactsUpdateRequest",
         "<mobileContacts><mobileContact><mobileNumber>+358401234567</mobileNumber>"
         "<preferred>true</preferred></mobileContact><mobileContact>"
         "<mobileNumber>+358407654321</mobileNumber><preferred>false</preferred></mobileContact>"
         "</mobileContacts><emailContacts><emailContact><emailAddress>a@b.example</emailAddress>"
         "<preferred>true</preferred></emailContact></emailContacts>",
         "mobileContact emailContact", "contactsUpdateResponse"},
        {20, "terms", "GET", "terms/{id}", nullptr, "", "", "termsQueryResponse"},
        {21, "terms update", "POST", "terms/{id}", "termsUpdateRequest",
         "<hasAcceptedTos>true</hasAcceptedTos>"
         "<hasAcceptedServiceSpecificTos>false</hasAcceptedServiceSpecificTos>"
         "<hasAcceptedPrivacyPolicy>true</hasAcceptedPrivacyPolicy>",
         "", nullptr},
        {22, "profile", "GET", "accounts/{id}/profile", nullptr, "", "", "profileQueryResponse"},
        {23, "profile update", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><mobile>+358401234567</mobile><email>erin@mail.example</email>"
         "<language>sv</language><country>SE</country><dateOfBirth>1980-02-09</dateOfBirth>"
         "<firstName>J</firstName><lastName></lastName><gender>female</gender></userData>",
         "language country dateOfBirth gender", "profileUpdateResponse"},
        {24, "question update", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<userData><passwordQuestion>3</passwordQuestion><passwordAnswer>Rex</passwordAnswer>"
         "</userData>",
         "passwordQuestion passwordAnswer", "profileUpdateResponse"},
        {25, "user name", "PUT", "accounts/{id}/profile", "profileUpdateRequest",
         "<username>erin</username><userData></userData>", "", "profileUpdateResponse"},
        {26, "devices", "POST", "accounts/{id}/devices", "devicesUpdateRequest",
         "<deviceInformation>" KEL_DEVICE_FACTS "</deviceInformation>", "", nullptr},
        {26, "devices, pre-account", nullptr, nullptr, "devicesUpdateRequest",
         "<preAccountId>p</preAccountId><deviceInformation>" KEL_DEVICE_FACTS
         "</deviceInformation>",
         "preAccountId", nullptr},
        {2, "refresh", "PUT", "tokens/{token}", nullptr, "", "", "tokenRefreshResponse"},
        {9, "deletion", "DELETE", "tokens/{token}", nullptr, "", "", nullptr},
    };
    return cases;
}
