// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/contactsinfo.h"
#include "rest/records/plainrecords.h"
#include "rest/records/profileinfo.h"
#include "rest/records/registrationinfodata.h"
#include "rest/reply/answerdetails.h"
#include "rest/reply/servicesignals.h"
#include "rest/request/isignatureprovider.h"
#include "rest/request/netrequesttype.h"

#include <memory>

namespace KelRestHandler {

class NetworkHandler;
class OAuthRequest;

/// Single entry of the REST layer: one send operation per operation of the service, one signal per
/// answer (see ServiceSignals).
///
/// Every send operation returns 0 when the request is on its way, and -1 when it is not; then no
/// signal follows. A value that cannot stand in the address as it is, see addressvalue.h, is one
/// reason. The provider must outlive the request. With an out-parameter, the request is
/// handed out on success and belongs to the caller, who may send it again and deletes it when the
/// operation is over; without one, the request dies with its reply.
class RESTRequestHandler : public ServiceSignals
{
    Q_OBJECT

public:
    explicit RESTRequestHandler(QObject* parent = nullptr);
    ~RESTRequestHandler() override;

    /// Creates a token. Answered by signInResponse.
    int sendSignInRequest(ISignatureProvider& provider, QString const& userName,
                          QString const& password, QString const& consumerKey,
                          QString const& baseAddress, OAuthRequest** request);

    /// Renews the provider's token. Answered by tokenRefreshResponse.
    int sendTokenRefreshRequest(ISignatureProvider& provider, QString const& consumerKey,
                                QString const& baseAddress, OAuthRequest** request);

    /// Is the user name free? Answered by userNameAvailabilityResponse.
    int sendisUserIdAvailRequest(ISignatureProvider& provider, QString const& userName,
                                 QString const& consumerKey, QString const& baseAddress,
                                 OAuthRequest** request);

    /// A captcha of about that many pixels. Answered by retrieveCaptchaImageResponse.
    int sendRetrieveCaptchaImageRequest(ISignatureProvider& provider, int width, int height,
                                        QString const& consumerKey, QString const& baseAddress);

    /// Registers an account. Answered by registerAccountResponse, then accountRegistrationResponse.
    int sendRegisterAccountRequest(ISignatureProvider& provider,
                                   RegistrationInfoData const& registration,
                                   QString const& captchaId, QByteArray const& serviceTag,
                                   QString const& consumerKey, QString const& baseAddress);

    /// Registers an account. Answered by registerAccountResponse, then accountRegistrationResponse.
    int sendRegisterAccountRequest(ISignatureProvider& provider,
                                   RegistrationInfoData const& registration,
                                   QString const& captchaId, QByteArray const& serviceTag,
                                   QString const& consumerKey, QString const& baseAddress,
                                   OAuthRequest** request);

    /// The questions to choose from. Answered by retrieveSecQueListResponse.
    int sendRetrieveSecQueListRequest(ISignatureProvider& provider, QString const& language,
                                      QString const& consumerKey, QString const& baseAddress);

    /// The account held ready for the SIM. Answered by detectPreAccountResponse.
    int senddetectPreAccountRequest(ISignatureProvider& provider, QString const& consumerKey,
                                    QString const& baseAddress);

    /// Where a service's terms are. Answered by retrieveTOSResponse.
    int sendretrieveTOSRequest(ISignatureProvider& provider, QString const& serviceId,
                               QString const& language, QString const& country, TermsFormat format,
                               QString const& consumerKey, QString const& baseAddress);

    /// Ends the provider's token. Answered by tokenDeletionResponse.
    int sendDeleteTokenRequest(ISignatureProvider& provider, QString const& consumerKey,
                               QString const& baseAddress, OAuthRequest** request);

    /// Has a recovery message sent. Answered by requestPasswordResetResponse.
    int sendresetPasswordRequest(ISignatureProvider& provider, QString const& userId,
                                 QString const& captchaId, QString const& captchaText,
                                 bool sendMessage, QString const& messageBody,
                                 QByteArray const& serviceTag, QString const& consumerKey,
                                 QString const& baseAddress);

    /// Is the e-mail address free? Answered by emailIdAvailabilityResponse.
    int sendisEmailAddAvailableRequest(ISignatureProvider& provider, QString const& emailAddress,
                                       QByteArray const& serviceTag, QString const& consumerKey,
                                       QString const& baseAddress);

    /// How to ask for marketing consent. Answered by queryMarketingVariantResponse.
    int sendQueryMarketingRequest(ISignatureProvider& provider, QString const& consumerKey,
                                  QString const& baseAddress);

    /// A new password for the security answer. Answered by passwordResetResponse.
    int sendResetPasswordRequest(ISignatureProvider& provider, QString const& userId,
                                 QString const& securityToken, QString const& newPassword,
                                 QString const& securityAnswer, QString const& language,
                                 QString const& consumerKey, QString const& baseAddress);

    /// A user's security question. Answered by retrieveSecurityQuestionResponse.
    int sendRetrieveSecurityQuestionRequest(ISignatureProvider& provider, QString const& userId,
                                            QString const& language, QString const& consumerKey,
                                            QString const& baseAddress);

    /// A new password for a signed-in user. Answered by changePasswordResponse.
    int sendChangePasswordRequest(ISignatureProvider& provider, QString const& accountId,
                                  QString const& newPassword, QString const& consumerKey,
                                  QString const& baseAddress, OAuthRequest** request);

    /// The marketing consents given. No signal answers it.
    int sendRetrieveMarketingConsentRequest(ISignatureProvider& provider, QString const& accountId,
                                            QString const& consumerKey, QString const& baseAddress,
                                            OAuthRequest** request);

    /// Changes the marketing consents. No signal answers it.
    int sendUpdateMarketingConsentRequest(ISignatureProvider& provider,
                                          MarketingConsentInfo const& consent,
                                          QString const& accountId, QString const& consumerKey,
                                          QString const& baseAddress, OAuthRequest** request);

    /// The ways to reach the user. No signal answers it.
    int sendRetrieveContactsInfoRequest(ISignatureProvider& provider, QString const& accountId,
                                        QString const& consumerKey, QString const& baseAddress,
                                        OAuthRequest** request);

    /// Changes the ways to reach the user. No signal answers it.
    int sendUpdateContactsInfoRequest(ISignatureProvider& provider, ContactsInfo const& contacts,
                                      QString const& accountId, QString const& consumerKey,
                                      QString const& baseAddress, OAuthRequest** request);

    /// The terms accepted. Answered by retrieveTermsAcceptanceResponse.
    int sendRetrieveTermsAcceptanceRequest(ISignatureProvider& provider, QString const& identifier,
                                           QString const& language, QString const& consumerKey,
                                           QString const& baseAddress, OAuthRequest** request);

    /// Records accepted terms. Answered by updateTermsAcceptanceResponse.
    int sendUpdateTermsAcceptanceRequest(ISignatureProvider& provider,
                                         TermsAcceptanceData const& acceptance,
                                         QString const& identifier, QString const& consumerKey,
                                         QString const& baseAddress, OAuthRequest** request);

    /// The user's profile. Answered by downloadProfileResponse.
    int sendDownloadProfileRequest(ISignatureProvider& provider, QString const& accountId,
                                   QString const& consumerKey, QString const& baseAddress,
                                   OAuthRequest** request);

    /// Changes the profile. No signal answers it.
    int sendUpdateProfileRequest(ISignatureProvider& provider, ProfileInfo const& profile,
                                 QString const& accountId, QString const& consumerKey,
                                 QString const& baseAddress, OAuthRequest** request);

    /// Changes question and answer. Answered by updateSecurityQuestionResponse.
    int sendUpdateSecurityQuestionRequest(ISignatureProvider& provider, ProfileInfo const& profile,
                                          QString const& accountId, QString const& consumerKey,
                                          QString const& baseAddress, OAuthRequest** request);

    /// Gives the account a user name. Answered by setUserIdResponse.
    int sendSetUserNameRequest(ISignatureProvider& provider, QString const& accountId,
                               QString const& newUserName, QString const& consumerKey,
                               QString const& baseAddress, OAuthRequest** request);

    /// Tells device and SIM. Answered by updateDeviceInfoResponse.
    int sendUpdateDeviceInfoRequest(ISignatureProvider& provider, QString const& accountId,
                                    QString const& consumerKey, QString const& baseAddress,
                                    OAuthRequest** request);

    /// Has a connection to the service at that address ready for the next request, and keeps it
    /// ready for half a minute. No signal follows.
    void prepare(QString const& baseAddress);
    /// The same, but it is ready for as long as it may be idle, and not renewed.
    void prepareOnce(QString const& baseAddress);

    /// Sends the same request again. Its retry count is the caller's business.
    int resendRequest(OAuthRequest* request);

    /// The identifier of the request that a send operation sent last; -1 before the first.
    int lastRequestId() const;

    /// The request that is being answered, for receivers of a signal.
    const AnsweredRequest& answering() const;

    /// No signal follows for this request any more. What has not left does not leave; a reply that
    /// is awaited is aborted.
    void abandon(int requestId);

protected:
    bool event(QEvent* event) override;

private:
    template <NetRequestType type, class... Arguments>
    int send(OAuthRequest** out, ISignatureProvider& provider, const Arguments&... arguments);
    template <NetRequestType type, class... Arguments>
    int send(ISignatureProvider& provider, const Arguments&... arguments);

    std::unique_ptr<NetworkHandler> mNetworkHandler;
    int mLastRequestId = -1;
};

} // namespace KelRestHandler
