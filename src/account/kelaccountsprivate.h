// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/accountsetup.h"
#include "account/calls.h"
#include "account/refusal.h"
#include "account/serviceroad.h"
#include "account/sessionroad.h"
#include "account/settings.h"
#include "account/tostatus.h"
#include "rest/records/registrationinfodata.h"
#include "rest/request/isignatureprovider.h"
#include "rest/restrequesthandler.h"

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/preaccountinfo.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <tuple>

class QPixmap;

namespace SignOn {
class SessionData;
}

namespace KelAccount {

class AccountSignOut;
class KelAuthSessionInterface;
class KelConfigure;
class PreparedPlugin;
class ProfileInfo;
class RegistrationInfo;

/// The orchestrator behind the facade: keeps what initialize() was given, checks every call against
/// its state, hands it on and turns every outcome into one signal.
///
/// A refusal is never answered from inside the call: it is posted to the event loop, so that the
/// caller gets every answer the same way.
class KelAccountsPrivate : public QObject, public KelRestHandler::ISignatureProvider
{
    Q_OBJECT

    using Rest = KelRestHandler::RESTRequestHandler;
    using Session = KelAuthSessionInterface;
    using Self = KelAccountsPrivate;

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
    /// Has a connection to the service ready for the next operation, and on a device without an
    /// account one of the plugin's for a set-up, for half a minute, when initialize() has
    /// succeeded. No answer follows, and no call is counted.
    void prepare();
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

    /// Signs the user out of the device, as AccountSignOut says, and is answered by
    /// signOutResponse() once: with 802 and 804 as well. Until then all that needs a session is
    /// refused with 804.
    void signOut();

    /// Which call is which: each of an operation above has an identity.
    const Calls& calls() const { return mCalls; }

    /// The call gets no answer any more. What has not gone out does not go out; what has is aborted
    /// or cancelled, and a set-up is taken back whole. A sign-out that has begun with an account
    /// goes on all the same: half of one is no state to be left in. A call that has been answered,
    /// or was never made, is none; in a slot of its answer a set-up is still taken back.
    void abandon(CallId call);

    bool isCaptchaRequired() { return !mService.hasServiceTags(); }
    bool isKeLAccountConfigured();

    /// No token: what needs one goes through the sign-on session.
    QString getToken(const QString& /*consumerKey*/) override { return {}; }

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
    void sendErrorResponse(KelAccount::KelAccountsPrivate::ResponseType type, int error);

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
    void processregisterAccountResponse(int error, const SignOn::SessionData& data)
    {
        processSignInCompleted(error, data);
    }
    void processdownloadProfileCompleted(int error, const SignOn::SessionData& data);
    void processSetSecurityQuestionCompleted(int error)
    {
        relay(error, &Self::updateSecurityQuestionResponse);
    }
    void processChangePasswordCompleted(int error) { relay(error, &Self::changePasswordResponse); }
    void processUserIdUpdateCompleted(int error) { relay(error, &Self::userIdUpdateResponse); }
    /// Sent along with a set-up, which does not depend on it.
    void processUpdateDeviceInfoResponse(int /*error*/) {}
    void processensureTokenResponse(int error)
    {
        relay(error, &Self::ensureTokenAvailableResponse);
    }
    void processCloseResponse(int error) { relay(error, &Self::closeResponse); }
    void processCredentialStoringStatusUpdate(bool stored, quint32 credentialId);
    void processAccountStoringStatusUpdate(bool stored);

    void getCountryCode(KelAccount::CallId call);

private:
    void connectRestHandler();
    void connectSession();
    void createSetUpAndSignOut();
    void processErrorDuringStoreCredentials() { mSetUp->handle(SetUpStates::Event::NotStored); }

    OpenCall newCall(ResponseType type, const char* operation = __builtin_FUNCTION())
    {
        return {type, mCalls.make(operation)};
    }
    void deferError(OpenCall call, ErrorStatus error);
    /// Posts the answer, unless the call is not refused at all (ErrorNone).
    bool isRefused(OpenCall call, ErrorStatus error);
    /// Why a call that needs the session, or sets an account up, is refused.
    ErrorStatus sessionRefusal(bool argumentsAreGood = true) const;
    ErrorStatus setUpRefusal(bool argumentsAreGood) const;

    /// Emits the signal, with the answer's status, unless the call was abandoned. False when it
    /// was, before or in a slot. This object may be gone when it returns.
    template <class... Carried, class... Values>
    bool give(const Answer& answer, void (Self::*signal)(ErrorStatus, Carried...),
              const Values&... values)
    {
        return mCalls.answer(answer, [&] {
            Q_EMIT(this->*signal)(toStatus(answer.details.status), values...);
        });
    }

    /// Answers what the plugin was asked, where the status says it all.
    void relay(int error, void (Self::*signal)(ErrorStatus))
    {
        give(mPlugin.answer(error), signal);
    }

    /// Has the plugin do it, or posts why not.
    template <class... Taken, class... Given>
    void askPlugin(OpenCall call, bool argumentsAreGood, void (Session::*operation)(Taken...),
                   const Given&... arguments)
    {
        if (!isRefused(call, sessionRefusal(argumentsAreGood)))
            mPlugin.ask(call, mSetUp->sessionCredentials(), operation, arguments...);
    }
    void updateRegisterInfoData(const RegistrationInfo& info,
                                KelRestHandler::RegistrationInfoData* data) const;

    KelRestHandler::RESTRequestHandler mRestHandler;
    Settings mSettings;
    Calls mCalls;
    RefuseCall mRefuse;
    ServiceRoad mService;
    QString mCaptchaId;                             // of the last captcha received
    KelConfigure* mKelConfigure;                    // a child of this object
    KelAuthSessionInterface* mAuthSessionInterface; // a child of this object
    PreparedPlugin* mPreparedPlugin;                // a child of this object
    SessionRoad mPlugin;
    KelRestHandler::RegistrationInfoData mRegistrationInfoData; // from storing to registering
    AccountSetUp* mSetUp = nullptr;                             // a child of this object
    AccountSignOut* mSignOut = nullptr;                         // a child of this object
};

/// For each type, in their order, what it is refused by.
constexpr auto refusals = [] {
    using P = KelAccountsPrivate;
    return std::make_tuple(
        Refusal{P::ResponseInitialize, &P::initializeResponse},
        Refusal{P::ResponseIsUserIdAvailable, &P::isUserIdAvailableResponse},
        Refusal{P::ResponseCaptchaImage, &P::captchaImageResponse},
        Refusal{P::ResponseRegisterAccount, &P::registerAccountResponse},
        Refusal{P::ResponseSecurityQuestionList, &P::securityQuestionListResponse},
        Refusal{P::ResponseDetectPreAccount, &P::detectPreAccountResponse},
        Refusal{P::ResponseTermsOfService, &P::termsOfServiceResponse},
        Refusal{P::ResponseIsEmailIdAvailable, &P::isEmailIdAvailableResponse},
        Refusal{P::ResponseMarketingVariant, &P::marketingVariantResponse},
        Refusal{P::ResponseSignInAndConfigure, &P::signInAndConfigureResponse},
        Refusal{P::ResponseRequestPasswordReset, &P::requestPasswordResetResponse},
        Refusal{P::ResponseDownloadProfile, &P::downloadProfileResponse},
        Refusal{P::ResponseUpdateSecurityQuestion, &P::updateSecurityQuestionResponse},
        Refusal{P::ResponseEnsureTokenAvailable, &P::ensureTokenAvailableResponse},
        Refusal{P::ResponseChangePassword, &P::changePasswordResponse},
        Refusal{P::ResponseUserIdUpdate, &P::userIdUpdateResponse},
        Refusal{P::ResponseRetrievePasswordResetSecQuestion,
                &P::retrievePasswordResetSecQuestionResponse},
        Refusal{P::ResponseResetPasswordUsingSecurityQuestion,
                &P::resetPasswordUsingSecurityQuestionResponse});
}();
static_assert(coversAllUpTo(KelAccountsPrivate::EndOfResponseTypes, refusals),
              "a type has no row in refusals, or not in its place");

} // namespace KelAccount

Q_DECLARE_METATYPE(KelAccount::KelAccountsPrivate::ResponseType)
