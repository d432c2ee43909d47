// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations that need no sign-on session. They do not look at the state of a set-up, and may
// run beside one and beside each other.
#include "account/kelaccountsprivate.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "device/devicecountrypicker.h"
#include "rest/request/addressvalue.h"

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

bool KelAccountsPrivate::isRefused(ResponseType type, bool argumentsAreGood)
{
    if (!argumentsAreGood)
        deferError(type, ErrorInvalidParameter);
    else if (!mInitialized)
        deferError(type, ErrorInitializationPending);
    return !argumentsAreGood || !mInitialized;
}

void KelAccountsPrivate::checkSent(int result, ResponseType type, const char* failure)
{
    if (result == 0)
        return;
    qCCritical(logAccount, "%s", failure);
    deferError(type, ErrorUnabletoSendRequest);
}

void KelAccountsPrivate::keep(OAuthRequest* request)
{
    if (request)
        mRequests.emplace(request->getRequestId(), request);
}

void KelAccountsPrivate::isUserIdAvailable(const QString& userId)
{
    if (isRefused(ResponseIsUserIdAvailable, isGiven(userId)))
        return;
    OAuthRequest* request = nullptr;
    const int result =
        mRestHandler.sendisUserIdAvailRequest(*this, userId, mConsumerKey, mServerUrl, &request);
    keep(request);
    checkSent(result, ResponseIsUserIdAvailable, "Failed to send isUserIdAvailable request");
}

void KelAccountsPrivate::retrieveCaptchaImage(int width, int height)
{
    if (isRefused(ResponseCaptchaImage, true))
        return;
    checkSent(mRestHandler.sendRetrieveCaptchaImageRequest(*this, width, height, mConsumerKey,
                                                           mServerUrl),
              ResponseCaptchaImage, "Failed to send retrieveCaptchaImage request");
}

void KelAccountsPrivate::retrieveSecurityQuestionList(const QString& language)
{
    if (isRefused(ResponseSecurityQuestionList, true))
        return;
    // The operation checks no argument: what is no language is a request that cannot be sent.
    const bool sendable = isWholeInQuery(language);
    checkSent(sendable ? mRestHandler.sendRetrieveSecQueListRequest(*this, language, mConsumerKey,
                                                                    mServerUrl)
                       : -1,
              ResponseSecurityQuestionList, "Failed to send retrieveSecurityQuestionList");
}

void KelAccountsPrivate::detectPreAccount()
{
    if (isRefused(ResponseDetectPreAccount, true))
        return;
    checkSent(mRestHandler.senddetectPreAccountRequest(*this, mConsumerKey, mServerUrl),
              ResponseDetectPreAccount, "Failed to send detectPreAccount request");
}

void KelAccountsPrivate::retrieveTermsOfService(const QString& serviceId, const QString& language,
                                                const QString& country, int format)
{
    const bool complete = isGiven(serviceId) && isWholeInQuery(language) && isWholeInQuery(country);
    if (isRefused(ResponseTermsOfService, complete))
        return;
    checkSent(mRestHandler.sendretrieveTOSRequest(*this, serviceId, language, country,
                                                  format ? TermsFormatHtml : TermsFormatText,
                                                  mConsumerKey, mServerUrl),
              ResponseTermsOfService, "Failed to send retrieveTermsOfService Request");
}

void KelAccountsPrivate::isEmailIdAvailable(const QString& email)
{
    if (isRefused(ResponseIsEmailIdAvailable, !email.isEmpty()))
        return;
    serviceTags().loadServiceTag(mServiceTag, ServiceTagOperation::emailAvailabilityCheck);
    checkSent(mRestHandler.sendisEmailAddAvailableRequest(*this, email, mServiceTag, mConsumerKey,
                                                          mServerUrl),
              ResponseIsEmailIdAvailable, "Failed to send isEmailIdAvailable Request");
}

void KelAccountsPrivate::queryMarketingVariant()
{
    if (isRefused(ResponseMarketingVariant, true))
        return;
    checkSent(mRestHandler.sendQueryMarketingRequest(*this, mConsumerKey, mServerUrl),
              ResponseMarketingVariant, "Failed to send queryMarketingVariant Request");
}

void KelAccountsPrivate::requestPasswordReset(const QString& userId, const QString& captchaText,
                                              bool sendMessage, const QString& messageBody)
{
    if (isRefused(ResponseRequestPasswordReset, true))
        return;
    serviceTags().loadServiceTag(mServiceTag, ServiceTagOperation::passwordRecovery);
    checkSent(mRestHandler.sendresetPasswordRequest(*this, userId, mCaptchaId, captchaText,
                                                    sendMessage, messageBody, mServiceTag,
                                                    mConsumerKey, mServerUrl),
              ResponseRequestPasswordReset, "Failed to send requestPasswordReset Request");
}

void KelAccountsPrivate::retrievePasswordResetSecQuestion(const QString& userId,
                                                          const QString& language)
{
    if (isRefused(ResponseRetrievePasswordResetSecQuestion,
                  isGiven(userId) && isGivenLanguage(language)))
        return;
    checkSent(mRestHandler.sendRetrieveSecurityQuestionRequest(*this, userId, language,
                                                               mConsumerKey, mServerUrl),
              ResponseRetrievePasswordResetSecQuestion,
              "Failed to send retrievePasswordResetSecQuestion");
}

void KelAccountsPrivate::resetPasswordUsingSecurityQuestion(const QString& userId,
                                                            const QString& securityToken,
                                                            const QString& newPassword,
                                                            const QString& securityAnswer,
                                                            const QString& language)
{
    const bool complete = isGiven(userId) && !securityToken.isEmpty() && !newPassword.isEmpty() &&
                          !securityAnswer.isEmpty() && isGivenLanguage(language);
    if (isRefused(ResponseResetPasswordUsingSecurityQuestion, complete))
        return;
    checkSent(mRestHandler.sendResetPasswordRequest(*this, userId, securityToken, newPassword,
                                                    securityAnswer, language, mConsumerKey,
                                                    mServerUrl),
              ResponseResetPasswordUsingSecurityQuestion,
              "Failed to send resetPasswordUsingSecurityQuestion Request");
}

void KelAccountsPrivate::retrieveCountryCode()
{
    QMetaObject::invokeMethod(this, &KelAccountsPrivate::getCountryCode, Qt::QueuedConnection);
}

void KelAccountsPrivate::getCountryCode()
{
    const QString country = DeviceCountryPicker().deviceCountry();
    Q_EMIT retrieveCountryCodeResponse(toStatus(country.isEmpty() ? countryUnknown : ErrorNone),
                                       country.isEmpty() ? QLatin1String("") : country);
}

void KelAccountsPrivate::processUserNameAvailResponse(UserNameAvailabilityResponse response)
{
    mRequests.erase(response.requestId);
    Q_EMIT isUserIdAvailableResponse(toStatus(response.status), response.available,
                                     response.suggestions);
}

void KelAccountsPrivate::processCaptchaImageResponse(int error, const QPixmap& image,
                                                     QString captchaId)
{
    mCaptchaId = captchaId;
    const QPointer<KelAccountsPrivate> alive(this);
    Q_EMIT captchaImageResponse(toStatus(error), image);
    if (alive)
        Q_EMIT retrieveCaptchaImageResponse(toStatus(error), image, captchaId);
}

void KelAccountsPrivate::processSecurityQueListResponse(int error, QVariantMap questions)
{
    Q_EMIT securityQuestionListResponse(toStatus(error), questions);
}

void KelAccountsPrivate::processdetectPreAccountResponse(int error, PreAccountInfo info)
{
    Q_EMIT detectPreAccountResponse(toStatus(error), info);
}

void KelAccountsPrivate::processRetrieveTOSReponse(TermsUrlsResponse response)
{
    Q_EMIT termsOfServiceResponse(toStatus(response.status), response.urls);
}

void KelAccountsPrivate::processEmailAvailabilityReponse(int error)
{
    // That the address is taken is an answer, not a failure.
    const bool taken = error == ErrorOperationFailed;
    Q_EMIT isEmailIdAvailableResponse(toStatus(taken ? ErrorNone : error), error == ErrorNone);
}

void KelAccountsPrivate::processQueryMarketingVariantResponse(int error,
                                                              ConsentQueryVariant variant)
{
    constexpr int first = 1;
    constexpr int last = 4;
    const bool known = variant >= first && variant <= last;
    Q_EMIT marketingVariantResponse(toStatus(error),
                                    known ? variant : static_cast<ConsentQueryVariant>(0));
}

void KelAccountsPrivate::processRequestPasswordResetResponse(int error)
{
    Q_EMIT requestPasswordResetResponse(toStatus(error));
}

void KelAccountsPrivate::processRetrieveSecurityQuestionResponse(SecurityQuestionResponse response)
{
    const SecurityQuestionData& question = response.securityQuestion;
    const QVariantMap map = {
        {ResultKey::recoveryUserId, question.username},
        {ResultKey::securityQuestionId, question.passwordQuestionId},
        {ResultKey::securityQuestionText, question.passwordQuestionText},
    };
    Q_EMIT retrievePasswordResetSecQuestionResponse(toStatus(response.status), map);
}

void KelAccountsPrivate::processPasswordResetUsingSecurityQuestionResponse(
    RESTResponseBase response)
{
    Q_EMIT resetPasswordUsingSecurityQuestionResponse(toStatus(response.status));
}

} // namespace KelAccount
