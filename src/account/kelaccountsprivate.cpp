// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/kelaccountsprivate.h"

#include "common/logging.h"
#include "rest/cryptographicutils.h"
#include "rest/picture/captchapicture.h"
#include "rest/serviceaddress.h"
#include "rest/timestampmanager.h"

using namespace KelRestHandler;

namespace KelAccount {

namespace {

// Statuses travel as numbers inside the library; some have no member.
ErrorStatus toStatus(int status)
{
    return static_cast<ErrorStatus>(status);
}

} // namespace

KelAccountsPrivate::KelAccountsPrivate(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<ResponseType>("ResponseType");
    connect(&mRestHandler, &RESTRequestHandler::userNameAvailabilityResponse, this,
            &KelAccountsPrivate::processUserNameAvailResponse);
}

KelAccountsPrivate::~KelAccountsPrivate() = default;

void KelAccountsPrivate::initialize(const QString& consumerKey, const QString& consumerSecret,
                                    int server, const QString& zorService,
                                    const QVariantMap& /*connectionDetail*/)
{
    if (mInitialized) {
        deferError(ResponseInitialize, ErrorInvalidRequest);
        return;
    }
    if (consumerKey.isEmpty() || consumerSecret.isEmpty()) {
        deferError(ResponseInitialize, ErrorInvalidParameter);
        return;
    }
    mConsumerKey = consumerKey;
    mConsumerSecret = consumerSecret;
    mServerIndex = server;
    mZorService = zorService;
    mServerUrl = serverBaseAddress(server);
    mInitialized = 1;
    Q_EMIT initializeResponse(ErrorNone);
}

void KelAccountsPrivate::initValues(const QString& /*first*/, const QString& /*second*/,
                                    int /*third*/)
{
    deferError(ResponseInitialize, ErrorInvalidRequest);
}

void KelAccountsPrivate::isUserIdAvailable(const QString& userId)
{
    if (userId.isEmpty()) {
        deferError(ResponseIsUserIdAvailable, ErrorInvalidParameter);
        return;
    }
    if (!mInitialized) {
        deferError(ResponseIsUserIdAvailable, ErrorInitializationPending);
        return;
    }
    OAuthRequest* request = nullptr;
    if (mRestHandler.sendisUserIdAvailRequest(*this, userId, mConsumerKey, mServerUrl, &request)
        != 0) {
        qCCritical(logAccount, "Failed to send isUserIdAvailable request");
        deferError(ResponseIsUserIdAvailable, ErrorUnabletoSendRequest);
        return;
    }
    keep(request);
}

QString KelAccountsPrivate::getToken(const QString& /*consumerKey*/)
{
    return {};
}

QString KelAccountsPrivate::createSignature(const QString& /*consumerKey*/,
                                            const QString& baseString, bool /*useToken*/)
{
    return CryptographicUtils::HMACSHA1(
        baseString, OAuthRequest::urlEncode(mConsumerSecret) + QLatin1Char('&'));
}

QString KelAccountsPrivate::getTimeStamp()
{
    const TimeStampManager* clock = TimeStampManager::getTimeStampManager();
    return clock ? clock->timeStamp() : QString();
}

void KelAccountsPrivate::processUserNameAvailResponse(UserNameAvailabilityResponse response)
{
    mRequests.erase(response.requestId);
    Q_EMIT isUserIdAvailableResponse(toStatus(response.status), response.available,
                                     response.suggestions);
}

void KelAccountsPrivate::deferError(ResponseType type, ErrorStatus error)
{
    QMetaObject::invokeMethod(this, "sendErrorResponse", Qt::QueuedConnection,
                              Q_ARG(ResponseType, type), Q_ARG(int, error));
}

void KelAccountsPrivate::keep(OAuthRequest* request)
{
    mRequests.emplace(request->getRequestId(), request);
}

void KelAccountsPrivate::sendErrorResponse(ResponseType type, int error)
{
    const ErrorStatus status = toStatus(error);
    switch (type) {
    case ResponseInitialize:
        Q_EMIT initializeResponse(status);
        return;
    case ResponseIsUserIdAvailable:
        Q_EMIT isUserIdAvailableResponse(status, false, QStringList());
        return;
    case ResponseCaptchaImage:
        withCaptchaPicture(QByteArray(), [this, status](const QPixmap& none) {
            Q_EMIT captchaImageResponse(status, none);
        });
        return;
    case ResponseRegisterAccount:
        Q_EMIT registerAccountResponse(status, QVariantMap());
        return;
    case ResponseSecurityQuestionList:
        Q_EMIT securityQuestionListResponse(status, QVariantMap());
        return;
    case ResponseDetectPreAccount:
        Q_EMIT detectPreAccountResponse(status, PreAccountInfo());
        return;
    case ResponseTermsOfService:
        Q_EMIT termsOfServiceResponse(status, QVariantMap());
        return;
    case ResponseIsEmailIdAvailable:
        Q_EMIT isEmailIdAvailableResponse(status, false);
        return;
    case ResponseMarketingVariant:
        Q_EMIT marketingVariantResponse(status, static_cast<ConsentQueryVariant>(0));
        return;
    case ResponseSignInAndConfigure:
        Q_EMIT signInAndConfigureResponse(status, QVariantMap());
        return;
    case ResponseRequestPasswordReset:
        Q_EMIT requestPasswordResetResponse(status);
        return;
    case ResponseDownloadProfile:
        Q_EMIT downloadProfileResponse(status, nullptr);
        return;
    case ResponseUpdateSecurityQuestion:
        Q_EMIT updateSecurityQuestionResponse(status);
        return;
    case ResponseEnsureTokenAvailable:
        Q_EMIT ensureTokenAvailableResponse(status);
        return;
    case ResponseChangePassword:
        Q_EMIT changePasswordResponse(status);
        return;
    case ResponseUserIdUpdate:
        Q_EMIT userIdUpdateResponse(status);
        return;
    case ResponseRetrievePasswordResetSecQuestion:
        Q_EMIT retrievePasswordResetSecQuestionResponse(status, QVariantMap());
        return;
    case ResponseResetPasswordUsingSecurityQuestion:
        Q_EMIT resetPasswordUsingSecurityQuestionResponse(status);
        return;
    }
    qCWarning(logAccount, "Failed to send some response...!!!! Is client application still waiting "
                          "for this response??");
}

} // namespace KelAccount
