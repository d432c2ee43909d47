// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations that need no sign-on session: what the facade hands on, and what becomes of it.
// They do not look at the state of a set-up, and may run beside one and beside each other.
#include "account/kelaccountsprivate.h"
#include "rest/request/addressvalue.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/resultkeys.h>

using namespace KelRestHandler;

namespace KelAccount {

void KelAccountsPrivate::connectRestHandler()
{
    const auto connect = [this](auto answer, auto slot) {
        QObject::connect(&mRestHandler, answer, this, slot);
    };
    connect(&Rest::userNameAvailabilityResponse, &Self::processUserNameAvailResponse);
    connect(&Rest::retrieveCaptchaImageResponse, &Self::processCaptchaImageResponse);
    connect(&Rest::retrieveSecQueListResponse, &Self::processSecurityQueListResponse);
    connect(&Rest::detectPreAccountResponse, &Self::processdetectPreAccountResponse);
    connect(&Rest::retrieveTOSResponse, &Self::processRetrieveTOSReponse);
    connect(&Rest::emailIdAvailabilityResponse, &Self::processEmailAvailabilityReponse);
    connect(&Rest::queryMarketingVariantResponse, &Self::processQueryMarketingVariantResponse);
    connect(&Rest::requestPasswordResetResponse, &Self::processRequestPasswordResetResponse);
    connect(&Rest::retrieveSecurityQuestionResponse,
            &Self::processRetrieveSecurityQuestionResponse);
    connect(&Rest::passwordResetResponse, &Self::processPasswordResetUsingSecurityQuestionResponse);
}

void KelAccounts::isUserIdAvailable(const QString& userId)
{
    mPrivate->isUserIdAvailable(userId);
}

void KelAccountsPrivate::isUserIdAvailable(const QString& userId)
{
    mService.ask({newCall(ResponseIsUserIdAvailable), isGivenInPath(userId),
                  "Failed to send isUserIdAvailable request"},
                 &Rest::sendisUserIdAvailRequest, userId);
}

void KelAccounts::retrieveCaptchaImage(int width, int height)
{
    mPrivate->retrieveCaptchaImage(width, height);
}

void KelAccountsPrivate::retrieveCaptchaImage(int width, int height)
{
    mService.ask(
        {newCall(ResponseCaptchaImage), true, "Failed to send retrieveCaptchaImage request"},
        &Rest::sendRetrieveCaptchaImageRequest, width, height);
}

void KelAccounts::retrieveSecurityQuestionList(const QString& language)
{
    mPrivate->retrieveSecurityQuestionList(language);
}

void KelAccountsPrivate::retrieveSecurityQuestionList(const QString& language)
{
    // The operation checks no argument: what is no language is a request that cannot be sent.
    mService.ask({newCall(ResponseSecurityQuestionList), true,
                  "Failed to send retrieveSecurityQuestionList"},
                 isWholeInQuery(language) ? &Rest::sendRetrieveSecQueListRequest : nullptr,
                 language);
}

void KelAccounts::detectPreAccount()
{
    mPrivate->detectPreAccount();
}

void KelAccountsPrivate::detectPreAccount()
{
    mService.ask(
        {newCall(ResponseDetectPreAccount), true, "Failed to send detectPreAccount request"},
        &Rest::senddetectPreAccountRequest);
}

void KelAccounts::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                         const QString& country, int format)
{
    mPrivate->retrieveTermsOfService(serviceId, language, country, format);
}

void KelAccountsPrivate::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                                const QString& country, int format)
{
    const bool complete =
        isGivenInPath(serviceId) && isWholeInQuery(language) && isWholeInQuery(country);
    mService.ask({newCall(ResponseTermsOfService), complete,
                  "Failed to send retrieveTermsOfService Request"},
                 &Rest::sendretrieveTOSRequest, serviceId, language, country,
                 format ? TermsFormatHtml : TermsFormatText);
}

void KelAccounts::isEmailIdAvailable(const QString& email)
{
    mPrivate->isEmailIdAvailable(email);
}

void KelAccountsPrivate::isEmailIdAvailable(const QString& email)
{
    mService.ask({newCall(ResponseIsEmailIdAvailable), !email.isEmpty(),
                  "Failed to send isEmailIdAvailable Request",
                  ServiceTagOperation::emailAvailabilityCheck},
                 &Rest::sendisEmailAddAvailableRequest, email, mService.serviceTag());
}

void KelAccounts::queryMarketingVariant()
{
    mPrivate->queryMarketingVariant();
}

void KelAccountsPrivate::queryMarketingVariant()
{
    mService.ask(
        {newCall(ResponseMarketingVariant), true, "Failed to send queryMarketingVariant Request"},
        &Rest::sendQueryMarketingRequest);
}

void KelAccounts::requestPasswordReset(const QString& userId, const QString& captchaText,
                                       bool sendMessage, const QString& messageBody)
{
    mPrivate->requestPasswordReset(userId, captchaText, sendMessage, messageBody);
}

void KelAccountsPrivate::requestPasswordReset(const QString& userId, const QString& captchaText,
                                              bool sendMessage, const QString& messageBody)
{
    mService.ask({newCall(ResponseRequestPasswordReset), true,
                  "Failed to send requestPasswordReset Request",
                  ServiceTagOperation::passwordRecovery},
                 &Rest::sendresetPasswordRequest, userId, mCaptchaId, captchaText, sendMessage,
                 messageBody, mService.serviceTag());
}

void KelAccounts::retrievePasswordResetSecQuestion(const QString& userId, const QString& language)
{
    mPrivate->retrievePasswordResetSecQuestion(userId, language);
}

void KelAccountsPrivate::retrievePasswordResetSecQuestion(const QString& userId,
                                                          const QString& language)
{
    mService.ask({newCall(ResponseRetrievePasswordResetSecQuestion),
                  isGivenInPath(userId) && isGivenInQuery(language),
                  "Failed to send retrievePasswordResetSecQuestion"},
                 &Rest::sendRetrieveSecurityQuestionRequest, userId, language);
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
    const bool complete = isGivenInPath(userId) && !securityToken.isEmpty() &&
                          !newPassword.isEmpty() && !securityAnswer.isEmpty() &&
                          isGivenInQuery(language);
    mService.ask({newCall(ResponseResetPasswordUsingSecurityQuestion), complete,
                  "Failed to send resetPasswordUsingSecurityQuestion Request"},
                 &Rest::sendResetPasswordRequest, userId, securityToken, newPassword,
                 securityAnswer, language);
}

void KelAccountsPrivate::processUserNameAvailResponse(UserNameAvailabilityResponse response)
{
    give(mService.answer(response.requestId, response.status), &Self::isUserIdAvailableResponse,
         response.available, response.suggestions);
}

void KelAccountsPrivate::processCaptchaImageResponse(int error, const QPixmap& image,
                                                     QString captchaId)
{
    mCaptchaId = captchaId;
    mCalls.answer(
        mService.answer(mRestHandler.answering().details.status),
        [&] { Q_EMIT captchaImageResponse(toStatus(error), image); },
        [&] { Q_EMIT retrieveCaptchaImageResponse(toStatus(error), image, captchaId); });
}

void KelAccountsPrivate::processSecurityQueListResponse(int error, QVariantMap questions)
{
    give(mService.answer(error), &Self::securityQuestionListResponse, questions);
}

void KelAccountsPrivate::processdetectPreAccountResponse(int error, PreAccountInfo info)
{
    give(mService.answer(error), &Self::detectPreAccountResponse, info);
}

void KelAccountsPrivate::processRetrieveTOSReponse(TermsUrlsResponse response)
{
    give(mService.answer(response.status), &Self::termsOfServiceResponse, response.urls);
}

void KelAccountsPrivate::processEmailAvailabilityReponse(int error)
{
    // That the address is taken is an answer, not a failure.
    const int status = error == ErrorOperationFailed ? ErrorNone : error;
    give(mService.answer(status), &Self::isEmailIdAvailableResponse, error == ErrorNone);
}

void KelAccountsPrivate::processQueryMarketingVariantResponse(int error,
                                                              ConsentQueryVariant variant)
{
    constexpr int first = 1;
    constexpr int last = 4;
    const bool known = variant >= first && variant <= last;
    give(mService.answer(error), &Self::marketingVariantResponse,
         known ? variant : static_cast<ConsentQueryVariant>(0));
}

void KelAccountsPrivate::processRequestPasswordResetResponse(int error)
{
    give(mService.answer(error), &Self::requestPasswordResetResponse);
}

void KelAccountsPrivate::processRetrieveSecurityQuestionResponse(SecurityQuestionResponse response)
{
    const SecurityQuestionData& question = response.securityQuestion;
    const QVariantMap map = {
        {ResultKey::recoveryUserId, question.username},
        {ResultKey::securityQuestionId, question.passwordQuestionId},
        {ResultKey::securityQuestionText, question.passwordQuestionText},
    };
    give(mService.answer(response.status), &Self::retrievePasswordResetSecQuestionResponse, map);
}

void KelAccountsPrivate::processPasswordResetUsingSecurityQuestionResponse(
    RESTResponseBase response)
{
    give(mService.answer(response.status), &Self::resetPasswordUsingSecurityQuestionResponse);
}

} // namespace KelAccount
