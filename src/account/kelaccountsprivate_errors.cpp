// SPDX-License-Identifier: LGPL-2.1-or-later
// The deferred answers of calls that were refused.
#include "account/kelaccountsprivate.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "rest/picture/captchapicture.h"

namespace KelAccount {

void KelAccountsPrivate::deferError(Call call, ErrorStatus error)
{
    const auto send = [this, call, error] {
        AnswerDetails details;
        details.status = error;
        answer(call.id, details, [this, call, error] { sendErrorResponse(call.type, error); });
    };
    QMetaObject::invokeMethod(this, send, Qt::QueuedConnection);
}

void KelAccountsPrivate::sendErrorResponse(ResponseType type, int error)
{
    const ErrorStatus status = toStatus(error);
    switch (type) {
    case ResponseIsUserIdAvailable:
        Q_EMIT isUserIdAvailableResponse(status, false, QStringList());
        return;
    case ResponseCaptchaImage:
        KelRestHandler::withCaptchaPicture(QByteArray(), [this, status](const QPixmap& none) {
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
    case ResponseDownloadProfile:
        Q_EMIT downloadProfileResponse(status, nullptr);
        return;
    case ResponseRetrievePasswordResetSecQuestion:
        Q_EMIT retrievePasswordResetSecQuestionResponse(status, QVariantMap());
        return;
    default:
        sendStatusResponse(type, status);
    }
}

// The signals that carry nothing but the status.
void KelAccountsPrivate::sendStatusResponse(ResponseType type, ErrorStatus status)
{
    switch (type) {
    case ResponseInitialize:
        Q_EMIT initializeResponse(status);
        return;
    case ResponseRequestPasswordReset:
        Q_EMIT requestPasswordResetResponse(status);
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
    case ResponseResetPasswordUsingSecurityQuestion:
        Q_EMIT resetPasswordUsingSecurityQuestionResponse(status);
        return;
    default:
        qCWarning(logAccount, "Failed to send some response...!!!! Is client application still "
                              "waiting for this response??");
    }
}

} // namespace KelAccount
