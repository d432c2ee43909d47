// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/isignatureprovider.h"
#include "rest/oauthrequest.h"
#include "rest/restrequesthandler.h"

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/preaccountinfo.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <memory>
#include <unordered_map>

class QPixmap;

namespace KelAccount {

class ProfileInfo;

/// The orchestrator behind the facade: keeps what initialize() was given, checks every call against
/// its state, hands it on and turns every outcome into one signal.
///
/// A refusal is never answered from inside the call: it is posted to the event loop, so that the
/// caller gets every answer the same way.
class KelAccountsPrivate : public QObject, public KelRestHandler::ISignatureProvider
{
    Q_OBJECT

public:
    /// Which signal a deferred error goes out on. There is none for retrieveCaptchaImageResponse,
    /// closeResponse and retrieveCountryCodeResponse, which are never deferred.
    enum ResponseType {
        ResponseInitialize = 0,
        ResponseIsUserIdAvailable = 1,
        ResponseCaptchaImage = 2,
        ResponseRegisterAccount = 3,
        ResponseSecurityQuestionList = 4,
        ResponseDetectPreAccount = 5,
        ResponseTermsOfService = 6,
        ResponseIsEmailIdAvailable = 7,
        ResponseMarketingVariant = 8,
        ResponseSignInAndConfigure = 9,
        ResponseRequestPasswordReset = 10,
        ResponseDownloadProfile = 11,
        ResponseUpdateSecurityQuestion = 12,
        ResponseEnsureTokenAvailable = 13,
        ResponseChangePassword = 14,
        ResponseUserIdUpdate = 15,
        ResponseRetrievePasswordResetSecQuestion = 16,
        ResponseResetPasswordUsingSecurityQuestion = 17,
    };

    explicit KelAccountsPrivate(QObject* parent);
    ~KelAccountsPrivate() override;

    void initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                    const QString& zorService, const QVariantMap& connectionDetail);
    void initValues(const QString& first, const QString& second, int third);
    void isUserIdAvailable(const QString& userId);

    /// No token: what needs one goes through the sign-on session.
    QString getToken(const QString& consumerKey) override;

    /// HMAC-SHA1 of the base string under the consumer secret alone (RFC 5849 section 3.4.2 with an
    /// empty token secret). The other arguments do not matter.
    QString createSignature(const QString& consumerKey, const QString& baseString,
                            bool useToken) override;

    QString getTimeStamp() override;

Q_SIGNALS:
    void initializeResponse(KelAccount::ErrorStatus error);
    void isUserIdAvailableResponse(KelAccount::ErrorStatus error, bool available,
                                   QStringList suggestions);
    void captchaImageResponse(KelAccount::ErrorStatus error, const QPixmap& image);
    void retrieveCaptchaImageResponse(KelAccount::ErrorStatus error, const QPixmap& image,
                                      QString captchaId);
    void registerAccountResponse(KelAccount::ErrorStatus error, QVariantMap accountData);
    void securityQuestionListResponse(KelAccount::ErrorStatus error, QVariantMap questions);
    void detectPreAccountResponse(KelAccount::ErrorStatus error,
                                  KelAccount::PreAccountInfo preAccountInfo);
    void termsOfServiceResponse(KelAccount::ErrorStatus error, QVariantMap addresses);
    void signInAndConfigureResponse(KelAccount::ErrorStatus error, QVariantMap accountData);
    void isEmailIdAvailableResponse(KelAccount::ErrorStatus error, bool available);
    void marketingVariantResponse(KelAccount::ErrorStatus error,
                                  KelAccount::ConsentQueryVariant variant);
    void requestPasswordResetResponse(KelAccount::ErrorStatus error);
    void downloadProfileResponse(KelAccount::ErrorStatus error, KelAccount::ProfileInfo* profile);
    void updateSecurityQuestionResponse(KelAccount::ErrorStatus error);
    void ensureTokenAvailableResponse(KelAccount::ErrorStatus error);
    void changePasswordResponse(KelAccount::ErrorStatus error);
    void userIdUpdateResponse(KelAccount::ErrorStatus error);
    void retrievePasswordResetSecQuestionResponse(KelAccount::ErrorStatus error,
                                                  QVariantMap question);
    void resetPasswordUsingSecurityQuestionResponse(KelAccount::ErrorStatus error);
    void closeResponse(KelAccount::ErrorStatus error);
    void retrieveCountryCodeResponse(KelAccount::ErrorStatus error, QString countryCode);

public Q_SLOTS:
    /// Emits the signal of the type with the error and empty values. Called from the event loop only.
    void sendErrorResponse(ResponseType type, int error);

private Q_SLOTS:
    void processUserNameAvailResponse(KelRestHandler::UserNameAvailabilityResponse response);

private:
    void deferError(ResponseType type, ErrorStatus error);
    void keep(KelRestHandler::OAuthRequest* request);

    KelRestHandler::RESTRequestHandler mRestHandler;
    QString mConsumerKey;
    QString mConsumerSecret;
    QString mServerUrl;
    int mServerIndex = 0;
    QString mZorService;
    int mInitialized = 0;

    // Requests under way that were handed out, by identifier.
    std::unordered_map<int, std::unique_ptr<KelRestHandler::OAuthRequest>> mRequests;
};

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::KelAccountsPrivate::ResponseType)
