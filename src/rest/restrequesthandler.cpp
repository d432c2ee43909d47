// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/restrequesthandler.h"

#include "common/logging.h"
#include "device/devicedescription.h"
#include "rest/operations/changepasswordrequest.h"
#include "rest/operations/consentqueryvariantrequest.h"
#include "rest/operations/deletetokenrequest.h"
#include "rest/operations/downloadprofilerequest.h"
#include "rest/operations/refreshtokenrequest.h"
#include "rest/operations/registeraccountrequest.h"
#include "rest/operations/resetpasswordrequest.h"
#include "rest/operations/retrievecaptchaimagerequest.h"
#include "rest/operations/retrievecontactsinforequest.h"
#include "rest/operations/retrieveemailidavailabilityrequest.h"
#include "rest/operations/retrievemarketingconsentinforequest.h"
#include "rest/operations/retrievepreaccountinforequest.h"
#include "rest/operations/retrievesecurityquestionlistrequest.h"
#include "rest/operations/retrievesecurityquestionrequest.h"
#include "rest/operations/retrievetermsacceptancerequest.h"
#include "rest/operations/retrievetermsofservicerequest.h"
#include "rest/operations/retrieveusernameavailabilityrequest.h"
#include "rest/operations/sendresetmessagerequest.h"
#include "rest/operations/setusernamerequest.h"
#include "rest/operations/signinrequest.h"
#include "rest/operations/updatecontactsinforequest.h"
#include "rest/operations/updatedeviceinforequest.h"
#include "rest/operations/updatemarketingconsentinforequest.h"
#include "rest/operations/updateprofilerequest.h"
#include "rest/operations/updatesecurityquestion.h"
#include "rest/operations/updatetermsacceptancerequest.h"
#include "rest/picture/captchapicture.h"
#include "rest/request/clientidentification.h"
#include "rest/request/cryptographicutils.h"
#include "rest/transport/networkhandler.h"

#include <QEvent>

#include <new>

namespace KelRestHandler {

namespace {

// Whether the request reaches what its operation means, and is signed. The value that stands in the
// way may be a secret: it is not logged.
bool canBeSent(const OAuthRequest& request)
{
    const char* const obstacle =
        !request.isWellAddressed()
            ? "A value cannot stand in the address of its request; nothing is sent"
        : !CryptographicUtils::isAvailable() ? "The cryptographic library refuses SHA-1, so no "
                                               "request can be signed; nothing is sent"
                                             : nullptr;
    if (obstacle)
        qCCritical(logRest, "%s", obstacle);
    return !obstacle;
}

// Null, and a line in the log, when there is no memory for the request, or it must not be sent.
template <class Request, class... Arguments>
std::unique_ptr<Request> makeRequest(const char* creationFailure, NetRequestType type,
                                     ISignatureProvider& provider, const Arguments&... arguments)
{
    std::unique_ptr<Request> request(new (std::nothrow) Request(provider, arguments..., type));
    if (!request)
        qCCritical(logRest, "%s", creationFailure);
    else if (!canBeSent(*request))
        request.reset();
    return request;
}

} // namespace

template <class Request, class... Arguments>
int RESTRequestHandler::sendHandedOut(const char* creationFailure, NetRequestType type,
                                      OAuthRequest** out, ISignatureProvider& provider,
                                      const Arguments&... arguments)
{
    if (!out)
        return -1;
    auto request = makeRequest<Request>(creationFailure, type, provider, arguments...);
    if (!request || mNetworkHandler->sendNetWorkRequest(request.get(), type) != 0)
        return -1;
    mLastRequestId = request->getRequestId();
    *out = request.release();
    return 0;
}

template <class Request, class... Arguments>
int RESTRequestHandler::sendOwned(const char* creationFailure, NetRequestType type,
                                  ISignatureProvider& provider, const Arguments&... arguments)
{
    auto request = makeRequest<Request>(creationFailure, type, provider, arguments...);
    if (!request)
        return -1;
    const int id = request->getRequestId();
    if (mNetworkHandler->sendOwnedRequest(std::move(request), type) != 0)
        return -1;
    mLastRequestId = id;
    return 0;
}

RESTRequestHandler::RESTRequestHandler(QObject* parent)
    : ServiceSignals(parent), mNetworkHandler(std::make_unique<NetworkHandler>(nullptr))
{
    ClientIdentification::setDescriptionReader(&readDeviceDescription);
    relay(mNetworkHandler.get(), this);
}

RESTRequestHandler::~RESTRequestHandler() = default;

int RESTRequestHandler::lastRequestId() const
{
    return mLastRequestId;
}

const AnsweredRequest& RESTRequestHandler::answering() const
{
    return mNetworkHandler->answering();
}

void RESTRequestHandler::abandon(int requestId)
{
    mNetworkHandler->abandon(requestId);
}

bool RESTRequestHandler::event(QEvent* event)
{
    // The last event before this object, and then each of its children, goes to another thread.
    if (event->type() == QEvent::ThreadChange)
        mNetworkHandler->setParent(this);
    return ServiceSignals::event(event);
}

int RESTRequestHandler::sendSignInRequest(ISignatureProvider& provider, QString const& userName,
                                          QString const& password, QString const& consumerKey,
                                          QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<SignInRequest>("SignInRequest object creation failed", SignIn, request,
                                        provider, userName, password, consumerKey, baseAddress);
}

int RESTRequestHandler::sendTokenRefreshRequest(ISignatureProvider& provider,
                                                QString const& consumerKey,
                                                QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<RefreshTokenRequest>("Token request object creation failed", RefreshToken,
                                              request, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendisUserIdAvailRequest(ISignatureProvider& provider,
                                                 QString const& userName,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<RetrieveUserNameAvailabilityRequest>(
        "Retreive Username request object creation failed", RetrieveUserNameAvailability, request,
        provider, userName, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveCaptchaImageRequest(ISignatureProvider& provider, int width,
                                                        int height, QString const& consumerKey,
                                                        QString const& baseAddress)
{
    // The service would make a picture that nobody can be shown.
    if (!canHoldCaptchaPictures())
        return -1;
    return sendOwned<RetrieveCaptchaImageRequest>("Retreive Captcha request object creation failed",
                                                  RetrieveCaptchaImage, provider, width, height,
                                                  consumerKey, baseAddress);
}

int RESTRequestHandler::sendRegisterAccountRequest(ISignatureProvider& provider,
                                                   RegistrationInfoData const& registration,
                                                   QString const& captchaId,
                                                   QByteArray const& serviceTag,
                                                   QString const& consumerKey,
                                                   QString const& baseAddress)
{
    return sendOwned<RegisterAccountRequest>("Register account request object creation failed",
                                             RegisterAccount, provider, registration, captchaId,
                                             serviceTag, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRegisterAccountRequest(
    ISignatureProvider& provider, RegistrationInfoData const& registration,
    QString const& captchaId, QByteArray const& serviceTag, QString const& consumerKey,
    QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<RegisterAccountRequest>("Register account request object creation failed",
                                                 RegisterAccount, request, provider, registration,
                                                 captchaId, serviceTag, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveSecQueListRequest(ISignatureProvider& provider,
                                                      QString const& language,
                                                      QString const& consumerKey,
                                                      QString const& baseAddress)
{
    return sendOwned<RetrieveSecurityQuestionListRequest>(
        "Security question request object creation failed", RetrieveSecurityQuestionList, provider,
        language, consumerKey, baseAddress);
}

int RESTRequestHandler::senddetectPreAccountRequest(ISignatureProvider& provider,
                                                    QString const& consumerKey,
                                                    QString const& baseAddress)
{
    return sendOwned<RetrievePreAccountInfoRequest>(
        "Register account request object creation failed", RetrievePreAccountInfo, provider,
        consumerKey, baseAddress);
}

int RESTRequestHandler::sendretrieveTOSRequest(ISignatureProvider& provider,
                                               QString const& serviceId, QString const& language,
                                               QString const& country, TermsFormat format,
                                               QString const& consumerKey,
                                               QString const& baseAddress)
{
    return sendOwned<RetrieveTermsOfServiceRequest>(
        "TOS request object creation failed", RetrieveTermsOfService, provider, serviceId, language,
        country, format, consumerKey, baseAddress);
}

int RESTRequestHandler::sendDeleteTokenRequest(ISignatureProvider& provider,
                                               QString const& consumerKey,
                                               QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<DeleteTokenRequest>("Token delete object creation failed", DeleteToken,
                                             request, provider, consumerKey, baseAddress);
}

int RESTRequestHandler::sendresetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& captchaId,
    QString const& captchaText, bool sendMessage, QString const& messageBody,
    QByteArray const& serviceTag, QString const& consumerKey, QString const& baseAddress)
{
    return sendOwned<SendResetMessageRequest>(
        "SendResetMessageRequest object creation failed", SendResetMessage, provider, userId,
        captchaId, captchaText, sendMessage, messageBody, serviceTag, consumerKey, baseAddress);
}

int RESTRequestHandler::sendisEmailAddAvailableRequest(ISignatureProvider& provider,
                                                       QString const& emailAddress,
                                                       QByteArray const& serviceTag,
                                                       QString const& consumerKey,
                                                       QString const& baseAddress)
{
    return sendOwned<RetrieveEmailIdAvailabilityRequest>(
        "Email Avail object creation failed", RetrieveEmailIdAvailability, provider, emailAddress,
        serviceTag, consumerKey, baseAddress);
}

int RESTRequestHandler::sendQueryMarketingRequest(ISignatureProvider& provider,
                                                  QString const& consumerKey,
                                                  QString const& baseAddress)
{
    return sendOwned<ConsentQueryVariantRequest>("Consent query object creation failed",
                                                 QueryConsentVariant, provider, consumerKey,
                                                 baseAddress);
}

int RESTRequestHandler::sendResetPasswordRequest(
    ISignatureProvider& provider, QString const& userId, QString const& securityToken,
    QString const& newPassword, QString const& securityAnswer, QString const& language,
    QString const& consumerKey, QString const& baseAddress)
{
    return sendOwned<ResetPasswordRequest>(
        "resetPasswordRequest object creation failed", ResetPassword, provider, userId,
        securityToken, newPassword, securityAnswer, language, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveSecurityQuestionRequest(ISignatureProvider& provider,
                                                            QString const& userId,
                                                            QString const& language,
                                                            QString const& consumerKey,
                                                            QString const& baseAddress)
{
    return sendOwned<RetrieveSecurityQuestionRequest>(
        "retrieveSecurityQuestionRequest object creation failed", RetrieveSecurityQuestion,
        provider, userId, language, consumerKey, baseAddress);
}

int RESTRequestHandler::sendChangePasswordRequest(
    ISignatureProvider& provider, QString const& accountId, QString const& newPassword,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<ChangePasswordRequest>("changePasswordRequest object creation failed",
                                                ChangePassword, request, provider, accountId,
                                                newPassword, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveMarketingConsentRequest(ISignatureProvider& provider,
                                                            QString const& accountId,
                                                            QString const& consumerKey,
                                                            QString const& baseAddress,
                                                            OAuthRequest** request)
{
    return sendHandedOut<RetrieveMarketingConsentInfoRequest>(
        "retrieveMarketingConsentRequest object creation failed", RetrieveMarketingConsentInfo,
        request, provider, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateMarketingConsentRequest(
    ISignatureProvider& provider, MarketingConsentInfo const& consent, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<UpdateMarketingConsentInfoRequest>(
        "updateMarketingConsentRequest object creation failed", UpdateMarketingConsentInfo, request,
        provider, consent, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveContactsInfoRequest(ISignatureProvider& provider,
                                                        QString const& accountId,
                                                        QString const& consumerKey,
                                                        QString const& baseAddress,
                                                        OAuthRequest** request)
{
    return sendHandedOut<RetrieveContactsInfoRequest>(
        "retrieveContactsInfoRequest object creation failed", RetrieveContactsInfo, request,
        provider, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateContactsInfoRequest(
    ISignatureProvider& provider, ContactsInfo const& contacts, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<UpdateContactsInfoRequest>(
        "updateContactsInfoRequest object creation failed", UpdateContactsInfo, request, provider,
        contacts, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendRetrieveTermsAcceptanceRequest(
    ISignatureProvider& provider, QString const& identifier, QString const& language,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<RetrieveTermsAcceptanceRequest>(
        "retrieveTermsAcceptanceRequest object creation failed", RetrieveTermsAcceptance, request,
        provider, identifier, language, consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateTermsAcceptanceRequest(
    ISignatureProvider& provider, TermsAcceptanceData const& acceptance, QString const& identifier,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<UpdateTermsAcceptanceRequest>(
        "updateTermsAcceptanceRequest object creation failed", UpdateTermsAcceptance, request,
        provider, acceptance, identifier, consumerKey, baseAddress);
}

int RESTRequestHandler::sendDownloadProfileRequest(ISignatureProvider& provider,
                                                   QString const& accountId,
                                                   QString const& consumerKey,
                                                   QString const& baseAddress,
                                                   OAuthRequest** request)
{
    return sendHandedOut<DownloadProfileRequest>("downloadProfileRequest object creation failed",
                                                 DownloadProfile, request, provider, accountId,
                                                 consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateProfileRequest(ISignatureProvider& provider,
                                                 ProfileInfo const& profile,
                                                 QString const& accountId,
                                                 QString const& consumerKey,
                                                 QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<UpdateProfileRequest>("updateProfileRequest object creation failed",
                                               UpdateProfile, request, provider, profile, accountId,
                                               consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateSecurityQuestionRequest(
    ISignatureProvider& provider, ProfileInfo const& profile, QString const& accountId,
    QString const& consumerKey, QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<UpdateSecurityQuestion>("updateProfileRequest object creation failed",
                                                 UpdateSecurityQuestionType, request, provider,
                                                 profile, accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::sendSetUserNameRequest(ISignatureProvider& provider,
                                               QString const& accountId, QString const& newUserName,
                                               QString const& consumerKey,
                                               QString const& baseAddress, OAuthRequest** request)
{
    return sendHandedOut<SetUserNameRequest>("setUsrNameRequest object creation failed",
                                             SetUserName, request, provider, accountId, newUserName,
                                             consumerKey, baseAddress);
}

int RESTRequestHandler::sendUpdateDeviceInfoRequest(ISignatureProvider& provider,
                                                    QString const& accountId,
                                                    QString const& consumerKey,
                                                    QString const& baseAddress,
                                                    OAuthRequest** request)
{
    return sendHandedOut<UpdateDeviceInfoRequest>(
        "SendUpdateDeviceInfoRequest object creation failed", UpdateDeviceInfo, request, provider,
        accountId, consumerKey, baseAddress);
}

int RESTRequestHandler::resendRequest(OAuthRequest* request)
{
    if (!request || !canBeSent(*request))
        return -1;
    return mNetworkHandler->sendNetWorkRequest(request, request->getRequestType()) == 0 ? 0 : -1;
}

} // namespace KelRestHandler
