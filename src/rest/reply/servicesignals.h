// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/accountinfodata.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfodata.h"
#include "rest/records/publicrecords.h"
#include "rest/records/securityquestiondata.h"
#include "rest/records/termsinfodata.h"
#include "rest/records/tokeninfodata.h"

#include <QDateTime>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QPixmap;

namespace KelRestHandler {

/// What every answer to an operation says.
struct RESTResponseBase
{
    QString consumerKey;
    QDateTime serverTime;
    int status = 0; ///< a KelAccount::ErrorStatus or one of the statuses without a name
    int requestId = 0;
};

/// Answer that issues a token.
struct TokenResponse : RESTResponseBase
{
    QString userName;
    TokenInfoData tokenInfo;
    AccountInfoData accountInfo;
    TermsInfoData termsInfo;
};

struct TokenCreationResponse : TokenResponse
{
};

struct TokenRefreshResponse : TokenResponse
{
};

struct RegistrationResponse : RESTResponseBase
{
    QString userName;
    TokenInfoData tokenInfo;
    AccountInfoData accountInfo;
    TermsAcceptanceData termsAcceptance;
};

struct UserNameAvailabilityResponse : RESTResponseBase
{
    bool available = false;
    QStringList suggestions;
};

struct TermsUrlsResponse : RESTResponseBase
{
    QVariantMap urls; ///< element name to text, as MsgParser::parseServiceQueryResponse reads them
};

struct TermsAcceptanceStatusResponse : RESTResponseBase
{
    TermsInfoData termsInfo;
};

struct DownloadProfileResponse : RESTResponseBase
{
    QString userName;
    ProfileInfoData profile;
};

struct SecurityQuestionResponse : RESTResponseBase
{
    SecurityQuestionData securityQuestion;
};

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
    // Named as the facade has it.
    void detectPreAccountResponse(int, PreAccountInfo); // clazy:exclude=fully-qualified-moc-types
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

Q_DECLARE_METATYPE(KelRestHandler::RESTResponseBase)
Q_DECLARE_METATYPE(KelRestHandler::TokenCreationResponse)
Q_DECLARE_METATYPE(KelRestHandler::TokenRefreshResponse)
Q_DECLARE_METATYPE(KelRestHandler::RegistrationResponse)
Q_DECLARE_METATYPE(KelRestHandler::UserNameAvailabilityResponse)
Q_DECLARE_METATYPE(KelRestHandler::TermsUrlsResponse)
Q_DECLARE_METATYPE(KelRestHandler::TermsAcceptanceStatusResponse)
Q_DECLARE_METATYPE(KelRestHandler::DownloadProfileResponse)
Q_DECLARE_METATYPE(KelRestHandler::SecurityQuestionResponse)
