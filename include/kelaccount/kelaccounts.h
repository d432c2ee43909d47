// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/export.h>
#include <kelaccount/preaccountinfo.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QPixmap;

namespace KelAccount {

class KelAccountsPrivate;
class ProfileInfo;

/// One asynchronous interface to the online account service.
///
/// Make one object, connect its signals, call initialize(), then call operations. Every operation
/// returns at once and is answered by exactly one signal, named like it with the suffix "Response",
/// whose first argument is an ErrorStatus: 0 for success. The other arguments mean something only
/// with status 0, unless a signal says otherwise.
///
/// Except where an operation says otherwise, its answer never arrives from inside the call, but later
/// from the event loop of the thread that owns the object. Make, use and delete the object on one
/// thread that runs an event loop; nothing is locked. Deleting it, also from a slot connected to it,
/// drops the answers still to come.
///
/// The proxy of the environment ("https_proxy", else "http_proxy") becomes the application's proxy
/// when the object is made.
///
/// Statuses that any operation of the service can carry: 401 to 423 (nothing usable came back), 500
/// to 526 (the service's own answer) and 1004; each operation lists those of its own.
class KELACCOUNT_EXPORT KelAccounts : public QObject
{
    Q_OBJECT

public:
    explicit KelAccounts(QObject* parent = nullptr);

    /// Drops all answers still to come.
    ~KelAccounts() override;

public Q_SLOTS:
    /// Says who calls, and whom. Must succeed once before any operation.
    ///
    /// @param consumerKey     the application's OAuth consumer key (RFC 5849), not empty
    /// @param consumerSecret  its secret, not empty; kept in memory, never logged
    /// @param server          0 and 1 test servers A and B, 2 production, 3 staging, 4 and 5 test
    ///                        servers C and D; any other value is production
    /// @param zorService      name of the service that the application signs in to
    /// @param connectionDetail accepted and ignored
    ///
    /// Answered by initializeResponse(): 0 from inside the call; otherwise, deferred,
    /// ErrorInvalidRequest (1000) when the object is initialised already and keeps what it was given
    /// then, or ErrorInvalidParameter (1001) for an empty key or secret.
    void initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                    const QString& zorService, const QVariantMap& connectionDetail);

    /// Retired: whatever its arguments, it is answered by initializeResponse() with
    /// ErrorInvalidRequest (1000). Call initialize().
    void initValues(const QString& first, const QString& second, int third);

    /// Is a user name free?
    ///
    /// @param userId  the name, not empty
    ///
    /// Answered by isUserIdAvailableResponse(): 0 with the outcome, ErrorInvalidParameter (1001) for
    /// an empty name, ErrorInitializationPending (802) before initialize(), ErrorUnabletoSendRequest
    /// (1002), or a status of the network or the service, such as 512 for a reserved name.
    void isUserIdAvailable(const QString& userId);

Q_SIGNALS:
    /// Answers initialize() and initValues().
    void initializeResponse(KelAccount::ErrorStatus error);

    /// Answers isUserIdAvailable(). Of a taken name, `suggestions` are free ones like it, in the
    /// service's order.
    void isUserIdAvailableResponse(KelAccount::ErrorStatus error, bool available,
                                   QStringList suggestions);

    /// A captcha picture, null when it could not be had. Include <QPixmap> to use it.
    void captchaImageResponse(KelAccount::ErrorStatus error, const QPixmap& image);

    /// The same picture with the id to register with.
    void retrieveCaptchaImageResponse(KelAccount::ErrorStatus error, const QPixmap& image,
                                      QString captchaId);

    /// An account was registered and, when asked for, set up on the device.
    void registerAccountResponse(KelAccount::ErrorStatus error, QVariantMap accountData);

    /// The questions to choose from: question id to its text.
    void securityQuestionListResponse(KelAccount::ErrorStatus error, QVariantMap questions);

    /// The account that the service holds ready for the SIM.
    void detectPreAccountResponse(KelAccount::ErrorStatus error,
                                  KelAccount::PreAccountInfo preAccountInfo);

    /// The addresses of a service's terms: kind to address.
    void termsOfServiceResponse(KelAccount::ErrorStatus error, QVariantMap addresses);

    /// A user was signed in and, when asked for, set up on the device.
    void signInAndConfigureResponse(KelAccount::ErrorStatus error, QVariantMap accountData);

    /// Whether an e-mail address is free.
    void isEmailIdAvailableResponse(KelAccount::ErrorStatus error, bool available);

    /// How the user is to be asked for marketing consent.
    void marketingVariantResponse(KelAccount::ErrorStatus error,
                                  KelAccount::ConsentQueryVariant variant);

    /// A recovery message was sent.
    void requestPasswordResetResponse(KelAccount::ErrorStatus error);

    /// The user's profile, owned by the library; empty when the status is not 0.
    void downloadProfileResponse(KelAccount::ErrorStatus error, KelAccount::ProfileInfo* profile);

    /// The security question was changed.
    void updateSecurityQuestionResponse(KelAccount::ErrorStatus error);

    /// An access token is at hand.
    void ensureTokenAvailableResponse(KelAccount::ErrorStatus error);

    /// The password was changed.
    void changePasswordResponse(KelAccount::ErrorStatus error);

    /// The user name was changed.
    void userIdUpdateResponse(KelAccount::ErrorStatus error);

    /// A user's security question: the keys "userId", "securityQuestionId", "securityQuestionText".
    void retrievePasswordResetSecQuestionResponse(KelAccount::ErrorStatus error,
                                                  QVariantMap question);

    /// The password was set anew with the answer to the security question.
    void resetPasswordUsingSecurityQuestionResponse(KelAccount::ErrorStatus error);

    /// The sign-on session was closed.
    void closeResponse(KelAccount::ErrorStatus error);

    /// The device's country, a two-letter code (ISO 3166-1).
    void retrieveCountryCodeResponse(KelAccount::ErrorStatus error, QString countryCode);

private:
    Q_DISABLE_COPY(KelAccounts)

    KelAccountsPrivate* mPrivate;
};

} // namespace KelAccount
