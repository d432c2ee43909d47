// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"
#include "common/wipe.h"
#include "device/obcmgrwrapper.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/isignatureprovider.h"
#include "rest/request/oauthrequest.h"
#include "rest/request/timestampmanager.h"
#include "rest/restrequesthandler.h"

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/preaccountinfo.h>

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

class QPixmap;

namespace SignOn {
class SessionData;
}

namespace KelAccount {

class AccountSetUp;
class AccountSignOut;
class KelAuthSessionInterface;
class KelConfigure;
class ProfileInfo;
class RegistrationInfo;

/// The orchestrator behind the facade: keeps what initialize() was given, checks every call against
/// its state, hands it on and turns every outcome into one signal.
///
/// A refusal is never answered from inside the call: it is posted to the event loop, so that the
/// caller gets every answer the same way.
///
/// Each call of an operation has an identity, which its answer can be asked for.
class KelAccountsPrivate : public QObject, public KelRestHandler::ISignatureProvider
{
    Q_OBJECT

public:
    /// Which signal a deferred error goes out on; see `refusals` below. There is none for
    /// retrieveCaptchaImageResponse, closeResponse and retrieveCountryCodeResponse, which are never
    /// deferred.
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
        EndOfResponseTypes ///< one past the last
    };

    explicit KelAccountsPrivate(QObject* parent);
    ~KelAccountsPrivate() override;

    void initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                    const QString& zorService, const QVariantMap& connectionDetail);
    void initValues(const QString& first, const QString& second, int third);

    // Operations of the service that need no credentials.
    void isUserIdAvailable(const QString& userId);
    void retrieveCaptchaImage(int width, int height);
    void retrieveSecurityQuestionList(const QString& language);
    void detectPreAccount();
    void retrieveTermsOfService(const QString& serviceId, const QString& language,
                                const QString& country, int format);
    void isEmailIdAvailable(const QString& email);
    void queryMarketingVariant();
    void requestPasswordReset(const QString& userId, const QString& captchaText, bool sendMessage,
                              const QString& messageBody);
    void retrievePasswordResetSecQuestion(const QString& userId, const QString& language);
    void resetPasswordUsingSecurityQuestion(const QString& userId, const QString& securityToken,
                                            const QString& newPassword,
                                            const QString& securityAnswer, const QString& language);
    void retrieveCountryCode();

    // Operations through the sign-on session, and the two that set the device account up.
    void signInAndConfigure(const QString& userName, const QString& password, bool configureOnDb);
    void registerAccount(const RegistrationInfo& info, bool configureOnDb);
    /// ErrorInvalidParameter when the object is no RegistrationInfo.
    void registerAccount(QObject* info, bool configureOnDb);
    void downloadProfile();
    void updateSecurityQuestion(const QString& question, const QString& answer);
    void changePassword(const QString& oldPassword, const QString& newPassword);
    void userIdUpdate(const QString& userId);
    void ensureTokenAvailable(unsigned int credentialsId);
    void close();

    /// Signs the user out of the device: the token at the service, what the plugin has stored, the
    /// credentials and the device account are deleted, in this order, and so are credentials that
    /// set-ups of this object left without an account. What is gone already counts as deleted; with
    /// nothing there, that is success. After a failure, some of it may be gone: call it again.
    ///
    /// Answered by signOutResponse(), once: 0 when all is gone; 802; 804 during a set-up or another
    /// sign-out; 806 without a session; what the plugin reported of the service; 404 when it does
    /// not answer; 3 when the sign-on daemon does not do its part; 805 when the accounts database
    /// does not. Until then all that needs a session is refused with 804.
    void signOut();

    /// The call that was made last through one of the operations above, refused ones included. An
    /// operation sets it when it is entered, and when it returns: it may have run the event loop,
    /// and others in it.
    CallId lastCall() const { return mLastCall; }
    /// What lastCall() will be within the next call.
    CallId nextCall() const { return mCallsMade + 1; }

    /// While an answer's signals are being emitted: which call they answer; 0 otherwise.
    CallId answeredCall() const { return mAnswering ? mAnswering->call : 0; }
    /// The same moment: what is known of the answer besides.
    const AnswerDetails& answerDetails() const;

    /// The call gets no answer any more. What has not gone out does not go out; what has is aborted
    /// or cancelled, and a set-up is taken back whole. A sign-out that has begun with an account
    /// goes on all the same: half of one is no state to be left in. A call that has been answered,
    /// or was never made, is none; in a slot of its answer a set-up is still taken back.
    void abandon(CallId call);

    bool isCaptchaRequired();
    bool isKeLAccountConfigured();

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
    void signOutResponse(KelAccount::ErrorStatus error);

public Q_SLOTS:
    /// Emits the signal of the type with the error and empty values. Called from the event loop
    /// only.
    void sendErrorResponse(ResponseType type, int error);

private Q_SLOTS:
    // Answers of the REST layer. Irregular capitals and "Reponse" are part of the names for good.
    void processUserNameAvailResponse(KelRestHandler::UserNameAvailabilityResponse response);
    void processCaptchaImageResponse(int error, const QPixmap& image, QString captchaId);
    void processSecurityQueListResponse(int error, QVariantMap questions);
    void processdetectPreAccountResponse(int error, KelAccount::PreAccountInfo info);
    void processRetrieveTOSReponse(KelRestHandler::TermsUrlsResponse response);
    void processEmailAvailabilityReponse(int error);
    void processQueryMarketingVariantResponse(int error, KelAccount::ConsentQueryVariant variant);
    void processRequestPasswordResetResponse(int error);
    void processRetrieveSecurityQuestionResponse(KelRestHandler::SecurityQuestionResponse response);
    void
    processPasswordResetUsingSecurityQuestionResponse(KelRestHandler::RESTResponseBase response);

    // Answers of the sign-on session and of the credential store.
    void processSignInCompleted(int error, const SignOn::SessionData& data);
    void processregisterAccountResponse(int error, const SignOn::SessionData& data);
    void processdownloadProfileCompleted(int error, const SignOn::SessionData& data);
    void processSetSecurityQuestionCompleted(int error);
    void processChangePasswordCompleted(int error);
    void processUserIdUpdateCompleted(int error);
    void processUpdateDeviceInfoResponse(int error);
    void processensureTokenResponse(int error);
    void processCloseResponse(int error);
    void processCredentialStoringStatusUpdate(bool stored, quint32 credentialId);
    void processAccountStoringStatusUpdate(bool stored);

    void getCountryCode(KelAccount::CallId call);

private:
    class Steps;

    KelRestHandler::TimeStampManager& clockOfServer() const;
    KelRestHandler::ObcMgrWrapper& serviceTags();

    void connectRestHandler();
    void connectSession();
    void createSetUp();
    void createSignOut();

    /// A call and the answer that it gets when it is refused.
    struct Call
    {
        ResponseType type;
        CallId id;
    };
    /// An answer that is being emitted, and the ones in whose slots that happens.
    struct Answering
    {
        CallId call;
        AnswerDetails details;
        Answering* outer;
        bool isAbandoned = false;
    };
    /// A request under way and, when it was handed out, the request itself.
    struct Request
    {
        CallId call;
        std::unique_ptr<KelRestHandler::OAuthRequest> handedOut;
    };

    CallId newCall();
    Call newCall(ResponseType type) { return {type, newCall()}; }
    bool isAwaited(CallId call) const { return mUnanswered.count(call) != 0; }
    /// Calls `emitSignals`, unless the call was abandoned. 0 is an answer that no call is known of.
    /// False when it was, before or in a slot. This object may be gone when it returns.
    bool answer(CallId call, AnswerDetails details, const std::function<void()>& emitSignals);
    /// The same for an answer of the REST layer, or of the session, whose status is all to be told.
    void answerRequest(int requestId, int status, const std::function<void()>& emitSignals);
    void answerRequest(int status, const std::function<void()>& emitSignals);
    void answerSession(int status, const std::function<void()>& emitSignals);

    /// False, with the answer posted, when this thread was told not to wait for the tag.
    bool loadServiceTag(Call call, const QString& operation);
    void deferError(Call call, ErrorStatus error);
    /// Posts the refusal of a call with bad arguments, or before initialize(); false without one.
    bool isRefused(Call call, bool argumentsAreGood);
    /// Notes the request that was sent, or posts the answer of one that could not be, after a line
    /// that names it.
    void noteSent(int result, Call call, const char* failure,
                  KelRestHandler::OAuthRequest* handedOut = nullptr);
    CallId takeRequest(int requestId);

    /// The same for a call that needs the session: also during a set-up or a sign-out.
    bool isSessionRefused(Call call);
    /// Why such a call is refused; ErrorNone when it is not.
    ErrorStatus sessionRefusal() const;
    void answerSignOut(CallId call, int status);
    /// False, with the refusal posted, when no session can be had, when the call was abandoned
    /// while it waited for one, or when this object came to its end in that: then nothing of it may
    /// be used.
    bool openSession(Call call);
    bool openSession(Call call, quint32 credentialsId);
    /// The same without posting anything; 0 stands for the device account's credentials.
    bool createSession(quint32 credentialsId);

    bool isSetUpRefused(Call call, bool argumentsAreGood);
    // Steps of the set-up, which AccountSetUp takes.
    void signIn();
    void registerAccount();
    void processErrorDuringStoreCredentials();
    int configureAccountOnFramework(const SignOn::SessionData& data);

    void updateRegisterInfoData(const RegistrationInfo& info,
                                KelRestHandler::RegistrationInfoData* data) const;

    KelRestHandler::RESTRequestHandler mRestHandler;
    QString mConsumerKey;
    SecretText mConsumerSecret;
    QString mServerUrl;
    int mServerIndex = 0;
    QString mZorService;
    QString mCaptchaId;     // of the last captcha received
    QByteArray mServiceTag; // loaded for the request at hand
    KelRestHandler::ObcMgrWrapper mObcMgrWrapper;
    KelConfigure* mKelConfigure = nullptr;                      // a child of this object
    KelAuthSessionInterface* mAuthSessionInterface = nullptr;   // a child of this object
    KelRestHandler::RegistrationInfoData mRegistrationInfoData; // from storing to registering
    AccountSetUp* mSetUp = nullptr;                             // a child of this object
    AccountSignOut* mSignOut = nullptr;                         // a child of this object
    int mInitialized = 0;

    CallId mCallsMade = 0;
    CallId mLastCall = 0;
    std::unordered_set<CallId> mUnanswered;     // and not abandoned
    CallId mSetUpCall = 0;                      // of the set-up under way, or of the last
    CallId mSignOutCall = 0;                    // of the sign-out
    std::unordered_map<int, Request> mRequests; // under way, by identifier
    Answering* mAnswering = nullptr;            // on the stack
};

/// How a call is refused: by this signal, with the status and nothing in whatever else it carries.
template <class... Carried>
struct Refusal
{
    KelAccountsPrivate::ResponseType type;
    void (KelAccountsPrivate::*signal)(ErrorStatus, Carried...);
};
template <class... Carried>
Refusal(KelAccountsPrivate::ResponseType, void (KelAccountsPrivate::*)(ErrorStatus, Carried...))
    -> Refusal<Carried...>;

/// For each type, in their order.
constexpr auto refusals = std::make_tuple(
    Refusal{KelAccountsPrivate::ResponseInitialize, &KelAccountsPrivate::initializeResponse},
    Refusal{KelAccountsPrivate::ResponseIsUserIdAvailable,
            &KelAccountsPrivate::isUserIdAvailableResponse},
    Refusal{KelAccountsPrivate::ResponseCaptchaImage, &KelAccountsPrivate::captchaImageResponse},
    Refusal{KelAccountsPrivate::ResponseRegisterAccount,
            &KelAccountsPrivate::registerAccountResponse},
    Refusal{KelAccountsPrivate::ResponseSecurityQuestionList,
            &KelAccountsPrivate::securityQuestionListResponse},
    Refusal{KelAccountsPrivate::ResponseDetectPreAccount,
            &KelAccountsPrivate::detectPreAccountResponse},
    Refusal{KelAccountsPrivate::ResponseTermsOfService,
            &KelAccountsPrivate::termsOfServiceResponse},
    Refusal{KelAccountsPrivate::ResponseIsEmailIdAvailable,
            &KelAccountsPrivate::isEmailIdAvailableResponse},
    Refusal{KelAccountsPrivate::ResponseMarketingVariant,
            &KelAccountsPrivate::marketingVariantResponse},
    Refusal{KelAccountsPrivate::ResponseSignInAndConfigure,
            &KelAccountsPrivate::signInAndConfigureResponse},
    Refusal{KelAccountsPrivate::ResponseRequestPasswordReset,
            &KelAccountsPrivate::requestPasswordResetResponse},
    Refusal{KelAccountsPrivate::ResponseDownloadProfile,
            &KelAccountsPrivate::downloadProfileResponse},
    Refusal{KelAccountsPrivate::ResponseUpdateSecurityQuestion,
            &KelAccountsPrivate::updateSecurityQuestionResponse},
    Refusal{KelAccountsPrivate::ResponseEnsureTokenAvailable,
            &KelAccountsPrivate::ensureTokenAvailableResponse},
    Refusal{KelAccountsPrivate::ResponseChangePassword,
            &KelAccountsPrivate::changePasswordResponse},
    Refusal{KelAccountsPrivate::ResponseUserIdUpdate, &KelAccountsPrivate::userIdUpdateResponse},
    Refusal{KelAccountsPrivate::ResponseRetrievePasswordResetSecQuestion,
            &KelAccountsPrivate::retrievePasswordResetSecQuestionResponse},
    Refusal{KelAccountsPrivate::ResponseResetPasswordUsingSecurityQuestion,
            &KelAccountsPrivate::resetPasswordUsingSecurityQuestionResponse});

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::KelAccountsPrivate::ResponseType)
