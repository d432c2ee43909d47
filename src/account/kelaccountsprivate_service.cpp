// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations that need no sign-on session: what the facade hands on, and what becomes of it.
// They do not look at the state of a set-up, and may run beside one and beside each other.
#include "account/kelaccountsprivate.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "device/devicecountrypicker.h"
#include "rest/request/addressvalue.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/resultkeys.h>

#include <QPointer>

using namespace KelRestHandler;

namespace KelAccount {

namespace {

// The device's country could not be found. The number has no member.
constexpr int countryUnknown = 807;

// One that cannot stand in an address as it is counts as one that is missing.
bool isGiven(const QString& argumentInPath)
{
    return !argumentInPath.isEmpty() && isWholeInPath(argumentInPath);
}

bool isGivenLanguage(const QString& language)
{
    return !language.isEmpty() && isWholeInQuery(language);
}

} // namespace

void KelAccountsPrivate::connectRestHandler()
{
    using Handler = RESTRequestHandler;
    using Self = KelAccountsPrivate;
    connect(&mRestHandler, &Handler::userNameAvailabilityResponse, this,
            &Self::processUserNameAvailResponse);
    connect(&mRestHandler, &Handler::retrieveCaptchaImageResponse, this,
            &Self::processCaptchaImageResponse);
    connect(&mRestHandler, &Handler::retrieveSecQueListResponse, this,
            &Self::processSecurityQueListResponse);
    connect(&mRestHandler, &Handler::detectPreAccountResponse, this,
            &Self::processdetectPreAccountResponse);
    connect(&mRestHandler, &Handler::retrieveTOSResponse, this, &Self::processRetrieveTOSReponse);
    connect(&mRestHandler, &Handler::emailIdAvailabilityResponse, this,
            &Self::processEmailAvailabilityReponse);
    connect(&mRestHandler, &Handler::queryMarketingVariantResponse, this,
            &Self::processQueryMarketingVariantResponse);
    connect(&mRestHandler, &Handler::requestPasswordResetResponse, this,
            &Self::processRequestPasswordResetResponse);
    connect(&mRestHandler, &Handler::retrieveSecurityQuestionResponse, this,
            &Self::processRetrieveSecurityQuestionResponse);
    connect(&mRestHandler, &Handler::passwordResetResponse, this,
            &Self::processPasswordResetUsingSecurityQuestionResponse);
}

bool KelAccountsPrivate::isRefused(Call call, bool argumentsAreGood)
{
    if (!argumentsAreGood)
        deferError(call, ErrorInvalidParameter);
    else if (!mInitialized)
        deferError(call, ErrorInitializationPending);
    return !argumentsAreGood || !mInitialized;
}

void KelAccountsPrivate::noteSent(int result, Call call, const char* failure,
                                  OAuthRequest* handedOut)
{
    if (result == 0) {
        Request request{call.id, std::unique_ptr<OAuthRequest>(handedOut)};
        mRequests.emplace(mRestHandler.lastRequestId(), std::move(request));
        return;
    }
    qCCritical(logAccount, "%s", failure);
    deferError(call, ErrorUnabletoSendRequest);
}

void KelAccounts::isUserIdAvailable(const QString& userId)
{
    mPrivate->isUserIdAvailable(userId);
}

void KelAccountsPrivate::isUserIdAvailable(const QString& userId)
{
    const Call call = newCall(ResponseIsUserIdAvailable);
    if (isRefused(call, isGiven(userId)))
        return;
    OAuthRequest* request = nullptr;
    const int result =
        mRestHandler.sendisUserIdAvailRequest(*this, userId, mConsumerKey, mServerUrl, &request);
    noteSent(result, call, "Failed to send isUserIdAvailable request", request);
}

void KelAccounts::retrieveCaptchaImage(int width, int height)
{
    mPrivate->retrieveCaptchaImage(width, height);
}

void KelAccountsPrivate::retrieveCaptchaImage(int width, int height)
{
    const Call call = newCall(ResponseCaptchaImage);
    if (isRefused(call, true))
        return;
    noteSent(mRestHandler.sendRetrieveCaptchaImageRequest(*this, width, height, mConsumerKey,
                                                          mServerUrl),
             call, "Failed to send retrieveCaptchaImage request");
}

void KelAccounts::retrieveSecurityQuestionList(const QString& language)
{
    mPrivate->retrieveSecurityQuestionList(language);
}

void KelAccountsPrivate::retrieveSecurityQuestionList(const QString& language)
{
    const Call call = newCall(ResponseSecurityQuestionList);
    if (isRefused(call, true))
        return;
    // The operation checks no argument: what is no language is a request that cannot be sent.
    const bool sendable = isWholeInQuery(language);
    noteSent(sendable ? mRestHandler.sendRetrieveSecQueListRequest(*this, language, mConsumerKey,
                                                                   mServerUrl)
                      : -1,
             call, "Failed to send retrieveSecurityQuestionList");
}

void KelAccounts::detectPreAccount()
{
    mPrivate->detectPreAccount();
}

void KelAccountsPrivate::detectPreAccount()
{
    const Call call = newCall(ResponseDetectPreAccount);
    if (isRefused(call, true))
        return;
    noteSent(mRestHandler.senddetectPreAccountRequest(*this, mConsumerKey, mServerUrl), call,
             "Failed to send detectPreAccount request");
}

void KelAccounts::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                         const QString& country, int format)
{
    mPrivate->retrieveTermsOfService(serviceId, language, country, format);
}

void KelAccountsPrivate::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                                const QString& country, int format)
{
    const bool complete = isGiven(serviceId) && isWholeInQuery(language) && isWholeInQuery(country);
    const Call call = newCall(ResponseTermsOfService);
    if (isRefused(call, complete))
        return;
    noteSent(mRestHandler.sendretrieveTOSRequest(*this, serviceId, language, country,
                                                 format ? TermsFormatHtml : TermsFormatText,
                                                 mConsumerKey, mServerUrl),
             call, "Failed to send retrieveTermsOfService Request");
}

void KelAccounts::isEmailIdAvailable(const QString& email)
{
    mPrivate->isEmailIdAvailable(email);
}

void KelAccountsPrivate::isEmailIdAvailable(const QString& email)
{
    const Call call = newCall(ResponseIsEmailIdAvailable);
    if (isRefused(call, !email.isEmpty()))
        return;
    if (!loadServiceTag(call, ServiceTagOperation::emailAvailabilityCheck))
        return;
    noteSent(mRestHandler.sendisEmailAddAvailableRequest(*this, email, mServiceTag, mConsumerKey,
                                                         mServerUrl),
             call, "Failed to send isEmailIdAvailable Request");
}

void KelAccounts::queryMarketingVariant()
{
    mPrivate->queryMarketingVariant();
}

void KelAccountsPrivate::queryMarketingVariant()
{
    const Call call = newCall(ResponseMarketingVariant);
    if (isRefused(call, true))
        return;
    noteSent(mRestHandler.sendQueryMarketingRequest(*this, mConsumerKey, mServerUrl), call,
             "Failed to send queryMarketingVariant Request");
}

void KelAccounts::requestPasswordReset(const QString& userId, const QString& captchaText,
                                       bool sendMessage, const QString& messageBody)
{
    mPrivate->requestPasswordReset(userId, captchaText, sendMessage, messageBody);
}

void KelAccountsPrivate::requestPasswordReset(const QString& userId, const QString& captchaText,
                                              bool sendMessage, const QString& messageBody)
{
    const Call call = newCall(ResponseRequestPasswordReset);
    if (isRefused(call, true))
        return;
    if (!loadServiceTag(call, ServiceTagOperation::passwordRecovery))
        return;
    noteSent(mRestHandler.sendresetPasswordRequest(*this, userId, mCaptchaId, captchaText,
                                                   sendMessage, messageBody, mServiceTag,
                                                   mConsumerKey, mServerUrl),
             call, "Failed to send requestPasswordReset Request");
}

void KelAccounts::retrievePasswordResetSecQuestion(const QString& userId, const QString& language)
{
    mPrivate->retrievePasswordResetSecQuestion(userId, language);
}

void KelAccountsPrivate::retrievePasswordResetSecQuestion(const QString& userId,
                                                          const QString& language)
{
    const Call call = newCall(ResponseRetrievePasswordResetSecQuestion);
    if (isRefused(call, isGiven(userId) && isGivenLanguage(language)))
        return;
    noteSent(mRestHandler.sendRetrieveSecurityQuestionRequest(*this, userId, language, mConsumerKey,
                                                              mServerUrl),
             call, "Failed to send retrievePasswordResetSecQuestion");
}

void KelAccounts::resetPasswordUsingSecurityQuestion(const QString& userId,
                                                     const QString& securityToken,
                                                     const QString& newPassword,
                                                     const QString& securityAnswer)
{
    // The service words this answer for programs, not for people.
    mPrivate->resetPasswordUsingSecurityQuestion(userId, securityToken, newPassword, securityAnswer,
                                                 QStringLiteral("en"));
}

void KelAccountsPrivate::resetPasswordUsingSecurityQuestion(const QString& userId,
                                                            const QString& securityToken,
                                                            const QString& newPassword,
                                                            const QString& securityAnswer,
                                                            const QString& language)
{
    const bool complete = isGiven(userId) && !securityToken.isEmpty() && !newPassword.isEmpty() &&
                          !securityAnswer.isEmpty() && isGivenLanguage(language);
    const Call call = newCall(ResponseResetPasswordUsingSecurityQuestion);
    if (isRefused(call, complete))
        return;
    noteSent(mRestHandler.sendResetPasswordRequest(*this, userId, securityToken, newPassword,
                                                   securityAnswer, language, mConsumerKey,
                                                   mServerUrl),
             call, "Failed to send resetPasswordUsingSecurityQuestion Request");
}

void KelAccounts::retrieveCountryCode()
{
    mPrivate->retrieveCountryCode();
}

void KelAccountsPrivate::retrieveCountryCode()
{
    const CallId call = newCall();
    QMetaObject::invokeMethod(
        this, [this, call] { getCountryCode(call); }, Qt::QueuedConnection);
}

void KelAccountsPrivate::getCountryCode(CallId call)
{
    if (!isAwaited(call))
        return;
    const QString country = DeviceCountryPicker().deviceCountry();
    AnswerDetails details;
    details.status = country.isEmpty() ? countryUnknown : ErrorNone;
    answer(call, details, [&] {
        Q_EMIT retrieveCountryCodeResponse(toStatus(details.status),
                                           country.isEmpty() ? QLatin1String("") : country);
    });
}

void KelAccountsPrivate::processUserNameAvailResponse(UserNameAvailabilityResponse response)
{
    answerRequest(response.requestId, response.status, [&] {
        Q_EMIT isUserIdAvailableResponse(toStatus(response.status), response.available,
                                         response.suggestions);
    });
}

void KelAccountsPrivate::processCaptchaImageResponse(int error, const QPixmap& image,
                                                     QString captchaId)
{
    mCaptchaId = captchaId;
    const AnsweredRequest& answered = mRestHandler.answering();
    answerRequest(answered.details.status, [&] {
        const QPointer<KelAccountsPrivate> alive(this);
        Q_EMIT captchaImageResponse(toStatus(error), image);
        if (alive && !mAnswering->isAbandoned)
            Q_EMIT retrieveCaptchaImageResponse(toStatus(error), image, captchaId);
    });
}

void KelAccountsPrivate::processSecurityQueListResponse(int error, QVariantMap questions)
{
    answerRequest(error, [&] { Q_EMIT securityQuestionListResponse(toStatus(error), questions); });
}

void KelAccountsPrivate::processdetectPreAccountResponse(int error, PreAccountInfo info)
{
    answerRequest(error, [&] { Q_EMIT detectPreAccountResponse(toStatus(error), info); });
}

void KelAccountsPrivate::processRetrieveTOSReponse(TermsUrlsResponse response)
{
    answerRequest(response.status,
                  [&] { Q_EMIT termsOfServiceResponse(toStatus(response.status), response.urls); });
}

void KelAccountsPrivate::processEmailAvailabilityReponse(int error)
{
    // That the address is taken is an answer, not a failure.
    const int status = error == ErrorOperationFailed ? ErrorNone : error;
    answerRequest(status,
                  [&] { Q_EMIT isEmailIdAvailableResponse(toStatus(status), error == ErrorNone); });
}

void KelAccountsPrivate::processQueryMarketingVariantResponse(int error,
                                                              ConsentQueryVariant variant)
{
    constexpr int first = 1;
    constexpr int last = 4;
    const bool known = variant >= first && variant <= last;
    answerRequest(error, [&] {
        Q_EMIT marketingVariantResponse(toStatus(error),
                                        known ? variant : static_cast<ConsentQueryVariant>(0));
    });
}

void KelAccountsPrivate::processRequestPasswordResetResponse(int error)
{
    answerRequest(error, [&] { Q_EMIT requestPasswordResetResponse(toStatus(error)); });
}

void KelAccountsPrivate::processRetrieveSecurityQuestionResponse(SecurityQuestionResponse response)
{
    const SecurityQuestionData& question = response.securityQuestion;
    const QVariantMap map = {
        {ResultKey::recoveryUserId, question.username},
        {ResultKey::securityQuestionId, question.passwordQuestionId},
        {ResultKey::securityQuestionText, question.passwordQuestionText},
    };
    answerRequest(response.status, [&] {
        Q_EMIT retrievePasswordResetSecQuestionResponse(toStatus(response.status), map);
    });
}

void KelAccountsPrivate::processPasswordResetUsingSecurityQuestionResponse(
    RESTResponseBase response)
{
    answerRequest(response.status, [&] {
        Q_EMIT resetPasswordUsingSecurityQuestionResponse(toStatus(response.status));
    });
}

} // namespace KelAccount
