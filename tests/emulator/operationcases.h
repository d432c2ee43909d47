// SPDX-License-Identifier: LGPL-2.1-or-later
// A good request of every operation, and documents of every form, typed in by hand.
#pragma once

#include "operations/table.h"
#include "rest/request/netrequesttype.h"

#include <QByteArray>
#include <QVector>

/// Of what the table of operations says, and of a document. Number, verb, address and roots are the
/// table's.
struct OperationCase
{
    enum Use { Asked, AskedWithSim, DocumentAlone, DocumentAloneWithSim };

    OperationCase(KelRestHandler::NetRequestType type, const char* rowName, Use use = Asked,
                  const char* document = "", const char* optionalElements = "",
                  const char* served = nullptr)
        : operation(type), name(rowName), content(document), optional(optionalElements)
    {
        const operations::Facts& facts = operations::factsOf(type);
        const bool withSim = use == AskedWithSim || use == DocumentAloneWithSim;
        const auto form = [withSim](const char* text) {
            const QStringList forms = operations::formsOf(text);
            return forms.isEmpty() ? QByteArray() : forms.at(withSim ? 1 : 0).toLatin1();
        };
        root = form(facts.body);
        if (use == DocumentAlone || use == DocumentAloneWithSim)
            return;
        verb = facts.verb;
        path = form(facts.address).split('?').first();
        path.replace("{user}", type == KelRestHandler::RetrieveSecurityQuestion ? "asked" : "alice")
            .replace("{user name}", "nobody")
            .replace("{service}", "music")
            .replace("{account}", "{id}")
            .replace("{terms}", "{id}");
        replyRoot = served ? QByteArray(served) : form(facts.reply);
    }

    int operation;
    const char* name;
    QByteArray content;
    const char* optional; ///< elements that may be left out alone, separated by blanks
    QByteArray verb;      ///< empty for a row that is of the document alone
    QByteArray path;      ///< "{id}", "{token}" stand for the account's
    QByteArray root;      ///< of its document, empty without one
    QByteArray replyRoot; ///< empty when the reply has no document

    bool isAsked() const { return !verb.isEmpty(); }
    bool hasDocument() const { return !root.isEmpty(); }
    /// It is the owner's who signed in then.
    bool needsToken() const { return path.contains('{'); }
};

#define KEL_DEVICE_FACTS                                                                           \
    "<mobilePhoneSerialNumber>356938035643809</mobilePhoneSerialNumber><mcc>244</mcc>"             \
    "<mnc>05</mnc><hashedMSIN>AcOrfXKVzwdVPSFn7onbYjOWRP8=</hashedMSIN>"
#define KEL_CONSENT                                                                                \
    "<marketingConsent><email>true</email><mobile>false</mobile>"                                  \
    "<serviceId>OneConsent</serviceId></marketingConsent>"

// The digest is SHA-1 of "ncsecret", by openssl.
inline QVector<OperationCase> casesWithDocument()
{
    using namespace KelRestHandler;
    return {
        {SignIn, "token creation", OperationCase::Asked,
         "<digestAuth><username>alice</username><nonce>n</nonce><created>c</created>"
         "<digest>oW58lSglaieq/6hDoEaLchyqRF4=</digest></digestAuth><checkTerms>true</checkTerms>"},
        {RetrieveCaptchaImage, "captcha", OperationCase::Asked,
         "<width>200</width><height>60</height>"},
        {RegisterAccount, "registration", OperationCase::Asked,
         "<serviceTag>dGFn</serviceTag><userData><email>new@mail.example</email>"
         "<password>U2VjcmV0IDEh</password><country></country></userData>" KEL_CONSENT,
         "serviceTag email"},
        {RegisterAccount, "registration, all", OperationCase::DocumentAlone,
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><username>somebody</username>"
         "<userData><mobile>+358401234567</mobile><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><passwordQuestion>3</passwordQuestion>"
         "<passwordAnswer>Rex</passwordAnswer><language>fi</language><country>FI</country>"
         "<dateOfBirth>1980-02-09</dateOfBirth><firstName>J</firstName><lastName>B</lastName>"
         "</userData>" KEL_CONSENT,
         "username mobile email passwordQuestion passwordAnswer language dateOfBirth firstName "
         "lastName"},
        {RegisterAccount, "phone activation", OperationCase::AskedWithSim,
         "<serviceTag>dGFn</serviceTag>" KEL_DEVICE_FACTS
         "<userData><email>phone@mail.example</email><password>U2VjcmV0IDEh</password>"
         "<country>FI</country></userData>" KEL_CONSENT,
         "serviceTag email"},
        {RegisterAccount, "phone activation, captcha", OperationCase::DocumentAloneWithSim,
         "<captchaId></captchaId><imageText>xk7Qp</imageText>" KEL_DEVICE_FACTS
         "<username>somebody</username><userData><email>a@b.example</email>"
         "<password>U2VjcmV0IDEh</password><country>FI</country></userData>" KEL_CONSENT,
         "username email"},
        {RetrievePreAccountInfo, "detection", OperationCase::Asked, KEL_DEVICE_FACTS},
        {SendResetMessage, "recovery", OperationCase::Asked,
         "<serviceTag>dGFn</serviceTag><sendPlainToken></sendPlainToken>", "serviceTag"},
        {SendResetMessage, "recovery, message", OperationCase::DocumentAlone,
         "<captchaId>c</captchaId><imageText>xk7Qp</imageText><messageBody>Hello</messageBody>"
         "<returnUrl>https://site.example/back</returnUrl>",
         "returnUrl"},
        {SendResetMessage, "recovery, empty message", OperationCase::DocumentAlone,
         "<serviceTag>dGFn</serviceTag><messageBody></messageBody>", "serviceTag"},
        {RetrieveEmailIdAvailability, "e-mail availability", OperationCase::Asked,
         "<email>free@mail.example</email><serviceTag>dGFn</serviceTag>"},
        {QueryConsentVariant, "consent variant", OperationCase::Asked,
         "<mobilePhoneSerialNumber></mobilePhoneSerialNumber><mcc>262</mcc><mnc></mnc>"
         "<hashedMSIN>not base64</hashedMSIN>"},
        {ResetPassword, "reset", OperationCase::Asked,
         "<securityToken>{recovery}</securityToken><newPassword>c2VjcmV0</newPassword>"
         "<passwordQuestionAnswer>Rex</passwordQuestionAnswer>",
         "securityToken newPassword passwordQuestionAnswer", "simplifiedChangePasswordResponse"},
        {ChangePassword, "password", OperationCase::Asked,
         "<userData><password>c2VjcmV0</password></userData>", "", "profileUpdateResponse"},
        {UpdateMarketingConsentInfo, "consent update", OperationCase::Asked,
         "<marketingConsent><email>true</email><mobile>false</mobile></marketingConsent>"},
        {UpdateContactsInfo, "contacts update", OperationCase::Asked,
         "<mobileContacts><mobileContact><mobileNumber>+358401234567</mobileNumber>"
         "<preferred>true</preferred></mobileContact><mobileContact>"
         "<mobileNumber>+358407654321</mobileNumber><preferred>false</preferred></mobileContact>"
         "</mobileContacts><emailContacts><emailContact><emailAddress>a@b.example</emailAddress>"
         "<preferred>true</preferred></emailContact></emailContacts>",
         "mobileContact emailContact", "contactsUpdateResponse"},
        {UpdateTermsAcceptance, "terms update", OperationCase::Asked,
         "<hasAcceptedTos>true</hasAcceptedTos>"
         "<hasAcceptedServiceSpecificTos>false</hasAcceptedServiceSpecificTos>"
         "<hasAcceptedPrivacyPolicy>true</hasAcceptedPrivacyPolicy>"},
        {UpdateProfile, "profile update", OperationCase::Asked,
         "<userData><mobile>+358401234567</mobile><email>erin@mail.example</email>"
         "<language>sv</language><country>SE</country><dateOfBirth>1980-02-09</dateOfBirth>"
         "<firstName>J</firstName><lastName></lastName><gender>female</gender></userData>",
         "language country dateOfBirth gender", "profileUpdateResponse"},
        {UpdateSecurityQuestionType, "question update", OperationCase::Asked,
         "<userData><passwordQuestion>3</passwordQuestion><passwordAnswer>Rex</passwordAnswer>"
         "</userData>",
         "passwordQuestion passwordAnswer", "profileUpdateResponse"},
        {SetUserName, "user name", OperationCase::Asked,
         "<username>erin</username><userData></userData>"},
        {UpdateDeviceInfo, "devices", OperationCase::Asked,
         "<deviceInformation>" KEL_DEVICE_FACTS "</deviceInformation>"},
        {UpdateDeviceInfo, "devices, pre-account", OperationCase::DocumentAlone,
         "<preAccountId>p</preAccountId><deviceInformation>" KEL_DEVICE_FACTS
         "</deviceInformation>",
         "preAccountId"},
    };
}

// All that there is to say of them stands in the table.
inline QVector<OperationCase> casesWithoutDocument()
{
    using namespace KelRestHandler;
    QVector<OperationCase> cases;
    for (const operations::Facts& facts : operations::table) {
        // Clients read none of these two replies.
        const char* const served = facts.number == RetrieveMarketingConsentInfo
                                       ? "marketingConsentQueryResponse"
                                   : facts.number == RetrieveContactsInfo ? "contactsUpdateResponse"
                                                                          : nullptr;
        if (!facts.body)
            cases.append({static_cast<NetRequestType>(facts.number), facts.requestClass,
                          OperationCase::Asked, "", "", served});
    }
    return cases;
}

inline const QVector<OperationCase>& operationCases()
{
    static const QVector<OperationCase> cases = casesWithDocument() + casesWithoutDocument();
    return cases;
}
