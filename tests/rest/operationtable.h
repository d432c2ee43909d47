// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "requestbodies.h"
#include "rest/operations/changepasswordrequest.h"
#include "rest/operations/consentqueryvariantrequest.h"
#include "rest/operations/deletetokenrequest.h"
#include "rest/operations/downloadprofilerequest.h"
#include "rest/operations/refreshtokenrequest.h"
#include "rest/operations/registeraccountrequest.h"
#include "rest/operations/resetpasswordrequest.h"
#include "rest/operations/retrievecaptchaimagerequest.h"
#include "rest/operations/retrievecontactsinforequest.h"
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/operations/retrievemarketingconsentinforequest.h"
#include "rest/operations/retrievepreaccountinforequest.h"
#include "rest/operations/retrievesecurityquestionlistrequest.h"
#include "rest/operations/retrievesecurityquestionrequest.h"
#include "rest/operations/retrievetermsacceptancerequest.h"
#include "rest/operations/retrievetermsofservicerequest.h"
#include "rest/operations/retrieveusernameavailabilityrequest.h"
#include "rest/operations/sendresetmessagerequest.h"
#include "rest/operations/setusernamerequest.h"
#include "rest/operations/signinrequest.h"
#include "rest/operations/updatecontactsinforequest.h"
#include "rest/operations/updatedeviceinforequest.h"
#include "rest/operations/updatemarketingconsentinforequest.h"
#include "rest/operations/updateprofilerequest.h"
#include "rest/operations/updatesecurityquestion.h"
#include "rest/operations/updatetermsacceptancerequest.h"

#include <QCryptographicHash>
#include <QVector>

#include <functional>
#include <memory>

/// What each of the 26 operations is to send, typed by hand from the service's interface, and how
/// its request is made.
namespace operationtable {

using namespace KelRestHandler;

inline const auto consumerKey = QStringLiteral("the key");
inline const auto timeStamp = QStringLiteral("1700000000");

inline ProfileInfo sampleProfile()
{
    ProfileInfo profile = requestbodies::fullProfile();
    profile.setSecurityQuestionId(QStringLiteral("3"));
    profile.setSecurityAnswer(QStringLiteral("Rex"));
    return profile;
}

/// The arguments of all operations, and what the outside says while a request is made.
struct Values
{
    QString token = QStringLiteral("token-77");
    QString userName = QStringLiteral("somebody");
    QString password = QStringLiteral("Secret 1!");
    QString accountId = QStringLiteral("1000042");
    QString captchaId = QStringLiteral("captcha-9");
    QString captchaText = QStringLiteral("xk7Qp");
    QString userId = QStringLiteral("somebody@mail.example");
    QString messageBody = QStringLiteral("Follow this link.");
    QString emailAddress = QStringLiteral("somebody@mail.example");
    QString securityToken = QStringLiteral("reset-token-5");
    QString newPassword = QStringLiteral("Newer 2?");
    QString securityAnswer = QStringLiteral("Rex");
    QString language = QStringLiteral("fi");
    QString country = QStringLiteral("FI");
    QString serviceId = QStringLiteral("music");
    QString termsId = QStringLiteral("terms-7");
    QString newUserName = QStringLiteral("newname");
    QByteArray serviceTag = "tag-0123";
    int width = 320;
    int height = 80;
    bool sendMessage = true;
    TermsFormat format = TermsFormatHtml;
    RegistrationInfoData registration = requestbodies::fullRegistration();
    ProfileInfo profile = sampleProfile();
    ContactsInfo contacts = requestbodies::threeContacts();
    MarketingConsentInfo consent = {true, false};
    TermsAcceptanceData acceptance = {true, false, true};
    /// What the request finds out by itself; as the test has set up the modem.
    bool simPresent = false;
    DeviceFacts device;
};

/// All that are texts.
inline QVector<QString Values::*> textFields()
{
    using V = Values;
    return {&V::token,        &V::userName,      &V::password,    &V::accountId,
            &V::captchaId,    &V::captchaText,   &V::userId,      &V::messageBody,
            &V::emailAddress, &V::securityToken, &V::newPassword, &V::securityAnswer,
            &V::language,     &V::country,       &V::serviceId,   &V::termsId,
            &V::newUserName};
}

/// Every text the same.
inline Values filledWith(const QString& text)
{
    Values v;
    for (const auto field : textFields())
        v.*field = text;
    v.serviceTag = text.toUtf8();
    return v;
}

/// Makes the request of an operation out of the arguments.
struct Making
{
    int type;
    ISignatureProvider& provider;
    QString base;

    template <class Request, class... Arguments>
    std::unique_ptr<OAuthRequest> with(const Arguments&... arguments) const
    {
        return std::make_unique<Request>(provider, arguments..., consumerKey, base,
                                         static_cast<NetRequestType>(type));
    }
};

using TextOf = std::function<QString(const Values&)>;

struct Operation
{
    int type;
    const char* requestClass;
    const char* verb;
    bool token;
    TextOf address;  ///< below the base address
    TextOf document; ///< null: the operation has none
    TextOf language; ///< null: always "en"
    std::function<std::unique_ptr<OAuthRequest>(const Making&, const Values&)> make;
};

inline TextOf fixed(const char* text)
{
    return [text](const Values&) { return QString::fromLatin1(text); };
}

/// "folder" + one of the values + "rest".
inline TextOf below(const char* folder, QString Values::*value, const char* rest = "")
{
    return [=](const Values& v) { return QLatin1String(folder) + v.*value + QLatin1String(rest); };
}

inline QString termsOfServiceAddress(const Values& v)
{
    QString address = QStringLiteral("services/%1?").arg(v.serviceId);
    if (!v.language.isEmpty())
        address += QStringLiteral("lang=%1&").arg(v.language);
    if (!v.country.isEmpty())
        address += QStringLiteral("country=%1&").arg(v.country);
    return address + QLatin1String(v.format == 1 ? "format=html" : "format=text");
}

inline QString recoveryMessageAddress(const Values& v)
{
    return QStringLiteral("simplifiedpasswordrecovery/%1/send")
        .arg(MsgCreator::getAsPunycode(v.userId));
}

inline QString registrationDocument(const Values& v)
{
    if (!v.simPresent)
        return MsgCreator::xmlRegistration(v.registration, v.captchaId, v.serviceTag);
    return MsgCreator::xmlPreRegistration(v.device.imei, v.device.mcc, v.device.mnc,
                                          v.device.hashedMsin, v.captchaId, v.registration,
                                          v.serviceTag);
}

/// Operations 1 to 8.
inline QVector<Operation> withoutAccount()
{
    using V = Values;
    const TextOf callers = [](const V& v) { return v.language; };
    return {
        {1, "SignInRequest", "POST", false, fixed("tokens"),
         [](const V& v) { return MsgCreator::xmlTokenCreation(v.userName, v.password, timeStamp); },
         nullptr,
         [](const Making& m, const V& v) { return m.with<SignInRequest>(v.userName, v.password); }},
        {2, "RefreshTokenRequest", "PUT", true, below("tokens/", &V::token), nullptr, nullptr,
         [](const Making& m, const V&) { return m.with<RefreshTokenRequest>(); }},
        {3, "RetrieveUserNameAvailabilityRequest", "GET", false,
         below("availability/", &V::userName), nullptr, nullptr,
         [](const Making& m, const V& v) {
             return m.with<RetrieveUserNameAvailabilityRequest>(v.userName);
         }},
        {4, "RetrieveCaptchaImageRequest", "POST", false, fixed("captchas"),
         [](const V& v) { return MsgCreator::xmlCaptchaCreation(v.width, v.height); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<RetrieveCaptchaImageRequest>(v.width, v.height);
         }},
        {5, "RegisterAccountRequest", "POST", false,
         [](const V& v) {
             return v.simPresent ? QStringLiteral("phoneactivationregistration")
                                 : QStringLiteral("accounts");
         },
         registrationDocument, nullptr,
         [](const Making& m, const V& v) {
             return m.with<RegisterAccountRequest>(v.registration, v.captchaId, v.serviceTag);
         }},
        {6, "RetrieveSecurityQuestionListRequest", "GET", false, fixed("securityquestions"),
         nullptr, callers,
         [](const Making& m, const V& v) {
             return m.with<RetrieveSecurityQuestionListRequest>(v.language);
         }},
        {7, "RetrievePreAccountInfoRequest", "POST", false, fixed("autodetection"),
         [](const V& v) {
             return MsgCreator::xmlDetectPreAccount(v.device.imei, v.device.mcc, v.device.mnc,
                                                    v.device.hashedMsin);
         },
         nullptr,
         [](const Making& m, const V&) { return m.with<RetrievePreAccountInfoRequest>(); }},
        {8, "RetrieveTermsOfServiceRequest", "GET", false, termsOfServiceAddress, nullptr, callers,
         [](const Making& m, const V& v) {
             return m.with<RetrieveTermsOfServiceRequest>(v.serviceId, v.language, v.country,
                                                          v.format);
         }},
    };
}

/// Operations 9 to 14.
inline QVector<Operation> aboutPasswordsAndAvailability()
{
    using V = Values;
    const TextOf callers = [](const V& v) { return v.language; };
    return {
        {9, "DeleteTokenRequest", "DELETE", true, below("tokens/", &V::token), nullptr, nullptr,
         [](const Making& m, const V&) { return m.with<DeleteTokenRequest>(); }},
        {10, "SendResetMessageRequest", "POST", false, recoveryMessageAddress,
         [](const V& v) {
             return MsgCreator::xmlSimpleResetMessage(v.captchaId, v.captchaText, v.sendMessage,
                                                      v.messageBody, QString(), v.serviceTag);
         },
         nullptr,
         [](const Making& m, const V& v) {
             return m.with<SendResetMessageRequest>(v.userId, v.captchaId, v.captchaText,
                                                    v.sendMessage, v.messageBody, v.serviceTag);
         }},
        {11, "RetrieveEmailIdAvailabilityRequest", "POST", false, fixed("emailavailability/"),
         [](const V& v) { return MsgCreator::xmlEmailAvailability(v.emailAddress, v.serviceTag); },
         nullptr,
         [](const Making& m, const V& v) {
             return m.with<RetrieveEmailIdAvailabilityRequest>(v.emailAddress, v.serviceTag);
         }},
        {12, "ConsentQueryVariantRequest", "POST", false, fixed("consentqueryvariant"),
         [](const V& v) {
             return MsgCreator::xmlConsentQueryVariant(QString(), v.device.imei, v.device.mcc,
                                                       v.device.mnc,
                                                       v.device.hashedMsin.toBase64());
         },
         nullptr, [](const Making& m, const V&) { return m.with<ConsentQueryVariantRequest>(); }},
        {13, "ResetPasswordRequest", "PUT", false,
         below("simplifiedpasswordrecovery/", &V::userId, "/change"),
         [](const V& v) {
             return MsgCreator::xmlChangePasswordRequest(v.securityToken, v.newPassword,
                                                         v.securityAnswer);
         },
         callers,
         [](const Making& m, const V& v) {
             return m.with<ResetPasswordRequest>(v.userId, v.securityToken, v.newPassword,
                                                 v.securityAnswer, v.language);
         }},
        {14, "RetrieveSecurityQuestionRequest", "GET", false,
         below("simplifiedpasswordrecovery/", &V::userId, "/question"), nullptr, callers,
         [](const Making& m, const V& v) {
             return m.with<RetrieveSecurityQuestionRequest>(v.userId, v.language);
         }},
    };
}

/// Operations 15 to 26.
inline QVector<Operation> withAccount()
{
    using V = Values;
    const TextOf callers = [](const V& v) { return v.language; };
    const TextOf profile = below("accounts/", &V::accountId, "/profile");
    const TextOf marketing = below("accounts/", &V::accountId, "/marketing");
    const TextOf contacts = below("accounts/", &V::accountId, "/contacts");
    const TextOf devices = below("accounts/", &V::accountId, "/devices");
    const TextOf terms = below("terms/", &V::termsId);
    return {
        {15, "ChangePasswordRequest", "PUT", true, profile,
         [](const V& v) { return MsgCreator::xmlChangePassword(v.newPassword); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<ChangePasswordRequest>(v.accountId, v.newPassword);
         }},
        {16, "RetrieveMarketingConsentInfoRequest", "GET", true, marketing, nullptr, nullptr,
         [](const Making& m, const V& v) {
             return m.with<RetrieveMarketingConsentInfoRequest>(v.accountId);
         }},
        {17, "UpdateMarketingConsentInfoRequest", "PUT", true, marketing,
         [](const V& v) { return MsgCreator::xmlUpdateMarketingConsent(v.consent); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<UpdateMarketingConsentInfoRequest>(v.consent, v.accountId);
         }},
        {18, "RetrieveContactsInfoRequest", "GET", true, contacts, nullptr, nullptr,
         [](const Making& m, const V& v) {
             return m.with<RetrieveContactsInfoRequest>(v.accountId);
         }},
        {19, "UpdateContactsInfoRequest", "PUT", true, contacts,
         [](const V& v) { return MsgCreator::xmlContactsInfoUpdate(v.contacts); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<UpdateContactsInfoRequest>(v.contacts, v.accountId);
         }},
        {20, "RetrieveTermsAcceptanceRequest", "GET", true, terms, nullptr, callers,
         [](const Making& m, const V& v) {
             return m.with<RetrieveTermsAcceptanceRequest>(v.termsId, v.language);
         }},
        {21, "UpdateTermsAcceptanceRequest", "POST", true, terms,
         [](const V& v) { return MsgCreator::xmlTermsAcceptance(v.acceptance); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<UpdateTermsAcceptanceRequest>(v.acceptance, v.termsId);
         }},
        {22, "DownloadProfileRequest", "GET", true, profile, nullptr, nullptr,
         [](const Making& m, const V& v) { return m.with<DownloadProfileRequest>(v.accountId); }},
        {23, "UpdateProfileRequest", "PUT", true, profile,
         [](const V& v) { return MsgCreator::xmlUpdateProfile(v.profile); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<UpdateProfileRequest>(v.profile, v.accountId);
         }},
        {24, "UpdateSecurityQuestion", "PUT", true, profile,
         [](const V& v) { return MsgCreator::xmlUpdateSecurityQuestion(v.profile); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<UpdateSecurityQuestion>(v.profile, v.accountId);
         }},
        {25, "SetUserNameRequest", "PUT", true, profile,
         [](const V& v) { return MsgCreator::xmlUpdateUserName(v.newUserName); }, nullptr,
         [](const Making& m, const V& v) {
             return m.with<SetUserNameRequest>(v.accountId, v.newUserName);
         }},
        {26, "UpdateDeviceInfoRequest", "POST", true, devices,
         [](const V& v) {
             return MsgCreator::xmlUpdateDeviceInfo(QString(), v.device.imei, v.device.mcc,
                                                    v.device.mnc, v.device.hashedMsin);
         },
         nullptr,
         [](const Making& m, const V& v) { return m.with<UpdateDeviceInfoRequest>(v.accountId); }},
    };
}

/// The operation with number n at index n - 1.
inline const QVector<Operation>& all()
{
    static const QVector<Operation> operations =
        withoutAccount() + aboutPasswordsAndAvailability() + withAccount();
    return operations;
}

/// A sign-in document with its nonce and digest replaced: they are new every time. A digest that
/// does not fit nonce, time and password stays as it is.
inline QString withoutChance(const QString& document, const QString& password)
{
    const auto valueOf = [&](const QString& element) {
        return document.section(QStringLiteral("<%1>").arg(element), 1)
            .section(QStringLiteral("</%1>").arg(element), 0, 0);
    };
    const QString nonce = valueOf(QStringLiteral("nonce"));
    const QString digest = valueOf(QStringLiteral("digest"));
    if (nonce.isEmpty())
        return document;
    const QByteArray expected = QCryptographicHash::hash(
        (nonce + valueOf(QStringLiteral("created")) + password).toUtf8(), QCryptographicHash::Sha1);
    QString result = document;
    result.replace(nonce, QStringLiteral("(nonce)"));
    if (digest == QString::fromLatin1(expected.toBase64()))
        result.replace(digest, QStringLiteral("(digest)"));
    return result;
}

/// What the request's document is to be.
inline QString expectedDocument(const Operation& operation, const Values& v)
{
    return operation.document ? withoutChance(operation.document(v), v.password) : QString();
}

} // namespace operationtable
