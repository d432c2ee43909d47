// SPDX-License-Identifier: LGPL-2.1-or-later
#include "operations/operations.h"

#include "operations/readers.h"
#include "operations/wiredata.h"
#include "rest/operations/all.h"
#include "rest/request/msgcreator.h"
#include "support/literals.h"

#include <QCryptographicHash>
#include <QTest>

#include <cxxabi.h>

#include <typeinfo>

namespace operations {

namespace {

using H = RESTRequestHandler;
using V = Values;
using wiredata::expected;

// The keys and the base address stand behind the arguments, and behind them the out-parameter.
template <class... Arguments, class... Fields>
Send sendOf(NetRequestType type, const char* creationFailure,
            int (H::*send)(ISignatureProvider&, Arguments...), Fields... fields)
{
    constexpr bool handsOut = sizeof...(Arguments) == sizeof...(Fields) + 3;
    return {type, handsOut, creationFailure, [=](const Sending& s) {
                if constexpr (handsOut)
                    return (s.handler.*send)(s.provider, s.values.*fields..., s.key, s.base, s.out);
                else
                    return (s.handler.*send)(s.provider, s.values.*fields..., s.key, s.base);
            }};
}

// An operation's constructor and its send operation have the same arguments.
template <NetRequestType type, class Send, class... Fields>
Operation row(const char* creationFailure, Send send, Fields... fields)
{
    using Request = typename Description<type>::Request;
    Operation operation(factsOf(type));
    operation.make = [=](ISignatureProvider& provider, const QString& base, const V& v) {
        return std::make_unique<Request>(provider, v.*fields..., consumerKey, base, type);
    };
    operation.sends = {sendOf(type, creationFailure, send, fields...)};
    return operation;
}

QString code(const char* errorCode)
{
    return "<errorCode>%1</errorCode>"_s.arg(QLatin1String(errorCode));
}

QString detailed(const char* errorCode, const char* detail)
{
    const auto format = "<extensions><detailedErrorCode>%1</detailedErrorCode></extensions>"_s;
    return code(errorCode) + format.arg(QLatin1String(detail));
}

template <class Response>
QStringList tokenLines(const Response& answer)
{
    return QStringList(readers::line("user name", answer.userName)) +
           readers::tokenLines(answer.tokenInfo) + readers::accountLines(answer.accountInfo) +
           readers::termsLines(answer.termsInfo);
}

QString documentOfRegistration(const V& v)
{
    if (!v.simPresent)
        return MsgCreator::xmlRegistration(v.registration, v.captchaId, v.serviceTag);
    return MsgCreator::xmlPreRegistration(v.device.imei, v.device.mcc, v.device.mnc,
                                          v.device.hashedMsin, v.captchaId, v.registration,
                                          v.serviceTag);
}

Operation registration()
{
    const char* const failure = "Register account request object creation failed";
    using Kept = int (H::*)(ISignatureProvider&, RegistrationInfoData const&, QString const&,
                            QByteArray const&, QString const&, QString const&);
    using HandedOut = int (H::*)(ISignatureProvider&, RegistrationInfoData const&, QString const&,
                                 QByteArray const&, QString const&, QString const&, OAuthRequest**);
    Operation operation =
        row<RegisterAccount>(failure, static_cast<Kept>(&H::sendRegisterAccountRequest),
                             &V::registration, &V::captchaId, &V::serviceTag);
    operation.sends.append(sendOf(RegisterAccount, failure,
                                  static_cast<HandedOut>(&H::sendRegisterAccountRequest),
                                  &V::registration, &V::captchaId, &V::serviceTag));
    const QStringList noTerms = readers::answerTermsLines({false, false, false});
    return operation.says(documentOfRegistration)
        .read("registration/account-and-token",
              expected("registration/account-and-token") + noTerms,
              expected("signin/nothing").mid(0, 12) + noTerms)
        .carrying<RegistrationResponse>([](const RegistrationResponse& answer) {
            return QStringList(readers::line("user name", answer.userName)) +
                   readers::tokenLines(answer.tokenInfo) +
                   readers::accountLines(answer.accountInfo) +
                   readers::answerTermsLines(answer.termsAcceptance);
        })
        .refused("<registrationError><captchaError/></registrationError>"_s, 513);
}

// Numbers 1 to 8.
QVector<Operation> withoutAccount()
{
    const QStringList noPicture = readers::captchaLines({}, QSize(0, 0));
    return {
        row<SignIn>("SignInRequest object creation failed", &H::sendSignInRequest, &V::userName,
                    &V::password)
            .says([](const V& v) {
                return MsgCreator::xmlTokenCreation(v.userName, v.password, timeStamp);
            })
            .reads("signin/everything", expected("signin/nothing"))
            .carrying<TokenCreationResponse>(&tokenLines)
            .refused(code("accountLocked"), 510),
        row<RefreshToken>("Token request object creation failed", &H::sendTokenRefreshRequest)
            .reads("tokenrefresh/token-only", expected("signin/nothing"))
            .carrying<TokenRefreshResponse>(&tokenLines)
            .refused(code("invalidAccessToken"), 500),
        row<RetrieveUserNameAvailability>("Retreive Username request object creation failed",
                                          &H::sendisUserIdAvailRequest, &V::userName)
            .read("usernameavailability/none", {"available: yes"_s}, {"available: no"_s})
            .carrying<UserNameAvailabilityResponse>([](const UserNameAvailabilityResponse& answer) {
                return QStringList(readers::line("available", readers::yesNo(answer.available))) +
                       answer.suggestions;
            })
            .refused(code("operationFailed"), 508),
        row<RetrieveCaptchaImage>("Retreive Captcha request object creation failed",
                                  &H::sendRetrieveCaptchaImageRequest, &V::width, &V::height)
            .says([](const V& v) { return MsgCreator::xmlCaptchaCreation(v.width, v.height); })
            .read("captcha/no-picture", noPicture, noPicture)
            .refused(code("generalError"), 505),
        registration(),
        row<RetrieveSecurityQuestionList>("Security question request object creation failed",
                                          &H::sendRetrieveSecQueListRequest, &V::language)
            .reads("securityquestions/three-questions")
            .refused(code("illegalRequestMethod"), 501),
        // The same words as for a registration: intended.
        row<RetrievePreAccountInfo>("Register account request object creation failed",
                                    &H::senddetectPreAccountRequest)
            .says([](const V& v) {
                return MsgCreator::xmlDetectPreAccount(v.device.imei, v.device.mcc, v.device.mnc,
                                                       v.device.hashedMsin);
            })
            .reads("preaccount/known", expected("preaccount/nothing"))
            .refused(code("resourceNotFound"), 507),
        row<RetrieveTermsOfService>("TOS request object creation failed",
                                    &H::sendretrieveTOSRequest, &V::serviceId, &V::language,
                                    &V::country, &V::format)
            .reads("termsurls/everything")
            .carrying<TermsUrlsResponse>(
                [](const TermsUrlsResponse& answer) { return readers::serviceLines(answer.urls); })
            .refused(code("invalidUrl"), 503),
    };
}

// Numbers 9 to 14.
QVector<Operation> aboutPasswordsAndAvailability()
{
    return {
        row<DeleteToken>("Token delete object creation failed", &H::sendDeleteTokenRequest)
            .refused(code("notAuthorized"), 504),
        row<SendResetMessage>("SendResetMessageRequest object creation failed",
                              &H::sendresetPasswordRequest, &V::userId, &V::captchaId,
                              &V::captchaText, &V::sendMessage, &V::messageBody, &V::serviceTag)
            .says([](const V& v) {
                return MsgCreator::xmlSimpleResetMessage(v.captchaId, v.captchaText, v.sendMessage,
                                                         v.messageBody, QString(), v.serviceTag);
            })
            .refused(detailed("captchaError", "invalidCaptcha"), 517),
        row<RetrieveEmailIdAvailability>("Email Avail object creation failed",
                                         &H::sendisEmailAddAvailableRequest, &V::emailAddress,
                                         &V::serviceTag)
            .says([](const V& v) {
                return MsgCreator::xmlEmailAvailability(v.emailAddress, v.serviceTag);
            })
            .refused(code("operationFailed"), 508),
        row<QueryConsentVariant>("Consent query object creation failed",
                                 &H::sendQueryMarketingRequest)
            .says([](const V& v) {
                return MsgCreator::xmlConsentQueryVariant(QString(), v.device.imei, v.device.mcc,
                                                          v.device.mnc,
                                                          v.device.hashedMsin.toBase64());
            })
            .reads("consentvariant/pre-ticked", expected("consentvariant/unknown"))
            .refused(code("unknownContentType"), 502),
        row<ResetPassword>("resetPasswordRequest object creation failed",
                           &H::sendResetPasswordRequest, &V::userId, &V::securityToken,
                           &V::newPassword, &V::securityAnswer, &V::language)
            .says([](const V& v) {
                return MsgCreator::xmlChangePasswordRequest(v.securityToken, v.newPassword,
                                                            v.securityAnswer);
            })
            .read("<?xml version=\"1.0\"?><simplifiedChangePasswordResponse/>", {})
            .refused(code("attributeSyntaxError"), 522),
        row<RetrieveSecurityQuestion>("retrieveSecurityQuestionRequest object creation failed",
                                      &H::sendRetrieveSecurityQuestionRequest, &V::userId,
                                      &V::language)
            .reads("securityquestion/of-a-user", expected("securityquestion/nothing"))
            .carrying<SecurityQuestionResponse>([](const SecurityQuestionResponse& answer) {
                return readers::questionLines(answer.securityQuestion);
            })
            .refused(detailed("x", "userNotFound"), 519),
    };
}

// Numbers 15 to 19.
QVector<Operation> withoutARecord()
{
    return {
        row<ChangePassword>("changePasswordRequest object creation failed",
                            &H::sendChangePasswordRequest, &V::accountId, &V::newPassword)
            .says([](const V& v) { return MsgCreator::xmlChangePassword(v.newPassword); })
            .read("usernameupdate/new-name", {})
            .refused("<profileUpdateError><attributeSyntaxError/></profileUpdateError>"_s, 522),
        row<RetrieveMarketingConsentInfo>("retrieveMarketingConsentRequest object creation failed",
                                          &H::sendRetrieveMarketingConsentRequest, &V::accountId)
            .read("marketingconsent/mobile-only", {})
            .refused(code("notAuthorized"), 504),
        row<UpdateMarketingConsentInfo>("updateMarketingConsentRequest object creation failed",
                                        &H::sendUpdateMarketingConsentRequest, &V::consent,
                                        &V::accountId)
            .says([](const V& v) { return MsgCreator::xmlUpdateMarketingConsent(v.consent); })
            .refused(code("notAuthorized"), 504),
        row<RetrieveContactsInfo>("retrieveContactsInfoRequest object creation failed",
                                  &H::sendRetrieveContactsInfoRequest, &V::accountId)
            .read("contactsupdate/three-contacts", {})
            .refused(code("notAuthorized"), 504),
        row<UpdateContactsInfo>("updateContactsInfoRequest object creation failed",
                                &H::sendUpdateContactsInfoRequest, &V::contacts, &V::accountId)
            .says([](const V& v) { return MsgCreator::xmlContactsInfoUpdate(v.contacts); })
            .read("contactsupdate/three-contacts", {})
            .refused("<contactUpdateError/>"_s, 511),
    };
}

// Numbers 20 to 26.
QVector<Operation> withAccount()
{
    const QStringList noTerms = {"terms present: no"_s, "terms: no"_s, "privacy policy: no"_s,
                                 "service terms: no"_s};
    const QString illegal = "<profileUpdateError><illegalUpdate>answer"
                            "</illegalUpdate></profileUpdateError>"_s;
    return {
        row<RetrieveTermsAcceptance>("retrieveTermsAcceptanceRequest object creation failed",
                                     &H::sendRetrieveTermsAcceptanceRequest, &V::termsId,
                                     &V::language)
            .reads("termsacceptance/mixed", noTerms)
            .carrying<TermsAcceptanceStatusResponse>(
                [](const TermsAcceptanceStatusResponse& answer) {
                    return readers::termsLines(answer.termsInfo);
                })
            .refused(code("invalidMessageFormat"), 506),
        row<UpdateTermsAcceptance>("updateTermsAcceptanceRequest object creation failed",
                                   &H::sendUpdateTermsAcceptanceRequest, &V::acceptance,
                                   &V::termsId)
            .says([](const V& v) { return MsgCreator::xmlTermsAcceptance(v.acceptance); })
            .refused(code("userPreregistered"), 509),
        row<DownloadProfile>("downloadProfileRequest object creation failed",
                             &H::sendDownloadProfileRequest, &V::accountId)
            .reads("profiledownload/everything", expected("profiledownload/nothing"))
            .carrying<DownloadProfileResponse>([](const DownloadProfileResponse& answer) {
                return readers::profileLines(answer.userName, answer.profile);
            })
            .refused(code("invalidAccessToken"), 500),
        row<UpdateProfile>("updateProfileRequest object creation failed",
                           &H::sendUpdateProfileRequest, &V::profile, &V::accountId)
            .says([](const V& v) { return MsgCreator::xmlUpdateProfile(v.profile); })
            .read("usernameupdate/new-name", {})
            .refused("<profileUpdateError><illegalUpdate/></profileUpdateError>"_s, 526),
        // The same words as for the profile: intended.
        row<UpdateSecurityQuestionType>("updateProfileRequest object creation failed",
                                        &H::sendUpdateSecurityQuestionRequest, &V::profile,
                                        &V::accountId)
            .says([](const V& v) { return MsgCreator::xmlUpdateSecurityQuestion(v.profile); })
            .read("usernameupdate/new-name", {})
            .refused(illegal, 526),
        row<SetUserName>("setUsrNameRequest object creation failed", &H::sendSetUserNameRequest,
                         &V::accountId, &V::newUserName)
            .says([](const V& v) { return MsgCreator::xmlUpdateUserName(v.newUserName); })
            .reads("usernameupdate/new-name", expected("profiledownload/nothing"))
            .refused(code("usernameReserved"), 512),
        row<UpdateDeviceInfo>("SendUpdateDeviceInfoRequest object creation failed",
                              &H::sendUpdateDeviceInfoRequest, &V::accountId)
            .says([](const V& v) {
                return MsgCreator::xmlUpdateDeviceInfo(QString(), v.device.imei, v.device.mcc,
                                                       v.device.mnc, v.device.hashedMsin);
            })
            .refused(code("somethingNew"), 505),
    };
}

} // namespace

Operation Operation::says(std::function<QString(const Values&)> written) const
{
    Operation operation = *this;
    operation.document = std::move(written);
    return operation;
}

Operation Operation::read(const char* replied, const QStringList& carried,
                          const QStringList& empty) const
{
    Operation operation = *this;
    operation.success = replied;
    operation.record = carried;
    operation.nothing = empty;
    return operation;
}

Operation Operation::reads(const char* replied, const QStringList& empty) const
{
    return read(replied, expected(replied), empty);
}

Operation Operation::refused(const QString& content, int status) const
{
    Operation operation = *this;
    operation.error = content;
    operation.errorStatus = status;
    return operation;
}

QString Operation::addressWith(const Values& values) const
{
    const bool otherForm =
        number == RegisterAccount ? values.simPresent : values.format == TermsFormatHtml;
    const QStringList forms = formsOf(address);
    QString text = otherForm ? forms.last() : forms.first();
    if (values.language.isEmpty())
        text.remove(QLatin1String("lang={language}&"));
    if (values.country.isEmpty())
        text.remove(QLatin1String("country={country}&"));
    // A message goes to a domain in ASCII; the two other addresses take the user as given.
    const QString user =
        number == SendResetMessage ? MsgCreator::getAsPunycode(values.userId) : values.userId;
    return text.replace(QLatin1String("{token}"), values.token)
        .replace(QLatin1String("{user name}"), values.userName)
        .replace(QLatin1String("{user}"), user)
        .replace(QLatin1String("{account}"), values.accountId)
        .replace(QLatin1String("{service}"), values.serviceId)
        .replace(QLatin1String("{terms}"), values.termsId)
        .replace(QLatin1String("{language}"), values.language)
        .replace(QLatin1String("{country}"), values.country);
}

QString Operation::documentWith(const Values& values) const
{
    return document ? withoutChance(document(values), values.password) : QString();
}

QString Operation::languageWith(const Values& values) const
{
    return traits & WithLanguage ? values.language : "en"_s;
}

QString Send::name() const
{
    return "%1 %2%3"_s.arg(number).arg(QLatin1String(factsOf(number).requestClass),
                                       handsOut ? ", handed out"_s : QString());
}

const QVector<Operation>& all()
{
    static const QVector<Operation> rows =
        withoutAccount() + aboutPasswordsAndAvailability() + withoutARecord() + withAccount();
    return rows;
}

const Operation& of(int number)
{
    return all().at(number - 1);
}

const QVector<Send>& sends()
{
    static const QVector<Send> found = [] {
        QVector<Send> list;
        for (const Operation& operation : all())
            list += operation.sends;
        return list;
    }();
    return found;
}

QString withoutChance(const QString& document, const QString& secret)
{
    const auto valueOf = [&](const QString& element) {
        return document.section("<%1>"_s.arg(element), 1).section("</%1>"_s.arg(element), 0, 0);
    };
    const QString nonce = valueOf("nonce"_s);
    const QString digest = valueOf("digest"_s);
    if (nonce.isEmpty())
        return document;
    const QByteArray expected = QCryptographicHash::hash(
        (nonce + valueOf("created"_s) + secret).toUtf8(), QCryptographicHash::Sha1);
    QString result = document;
    result.replace(nonce, "(nonce)"_s);
    if (digest == QString::fromLatin1(expected.toBase64()))
        result.replace(digest, "(digest)"_s);
    return result;
}

QString classOf(const OAuthRequest& request)
{
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(typeid(request).name(), nullptr, nullptr, nullptr), &std::free);
    return QString::fromLatin1(name.get()).section("::"_s, -1);
}

void rows(const std::function<bool(const Operation&)>& filter)
{
    QTest::addColumn<int>("number");
    for (const Operation& row : all()) {
        if (!filter || filter(row))
            QTest::addRow("%d %s", row.number, row.requestClass) << row.number;
    }
}

void sendRows(const std::function<bool(const Send&)>& filter)
{
    QTest::addColumn<int>("send");
    for (int i = 0; i < sends().size(); ++i) {
        if (!filter || filter(sends().at(i)))
            QTest::newRow(qPrintable(sends().at(i).name())) << i;
    }
}

} // namespace operations
