// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/responses.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

class QPixmap;

namespace KelRestHandler {

/// The answers of the REST layer, one signal per operation. The response processor emits them, the
/// transport and the request handler pass them on unchanged.
///
/// An `int` first argument is a KelAccount::ErrorStatus; structures carry theirs.
class ServiceSignals : public QObject
{
    Q_OBJECT

public:
    explicit ServiceSignals(QObject* parent) : QObject(parent) {}

    /// Connects every signal declared here of `from` to the same signal of `to`.
    static void relay(ServiceSignals* from, ServiceSignals* to);

Q_SIGNALS:
    void signInResponse(KelRestHandler::TokenCreationResponse);
    void tokenRefreshResponse(KelRestHandler::TokenRefreshResponse);
    void userNameAvailabilityResponse(KelRestHandler::UserNameAvailabilityResponse);
    // The picture goes by reference: only who makes or shows one needs Qt Gui.
    void retrieveCaptchaImageResponse(int, const QPixmap&, QString);
    void registerAccountResponse(int);
    void retrieveSecQueListResponse(int, QVariantMap);
    void detectPreAccountResponse(int, PreAccountInfo);
    void retrieveTOSResponse(KelRestHandler::TermsUrlsResponse);
    void tokenDeletionResponse(KelRestHandler::RESTResponseBase);
    void emailIdAvailabilityResponse(int);
    void queryMarketingVariantResponse(int, KelRestHandler::ConsentQueryVariant);
    void downloadProfileResponse(KelRestHandler::DownloadProfileResponse);
    void requestPasswordResetResponse(int);
    void retrieveSecurityQuestionResponse(KelRestHandler::SecurityQuestionResponse);
    void updateSecurityQuestionResponse(KelRestHandler::RESTResponseBase);
    void setUserIdResponse(KelRestHandler::DownloadProfileResponse);
    void accountRegistrationResponse(KelRestHandler::RegistrationResponse);
    void updateTermsAcceptanceResponse(KelRestHandler::RESTResponseBase);
    void retrieveTermsAcceptanceResponse(KelRestHandler::TermsAcceptanceStatusResponse);
    void updateDeviceInfoResponse(KelRestHandler::RESTResponseBase);
    void changePasswordResponse(KelRestHandler::RESTResponseBase);
    void passwordResetResponse(KelRestHandler::RESTResponseBase);
};

} // namespace KelRestHandler
