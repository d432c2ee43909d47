// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The names in its signatures are looked up as they stand.
// clazy:excludeall=fully-qualified-moc-types

#include <kelaccount/consentqueryvariant.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/export.h>
#include <kelaccount/preaccountinfo.h>
#include <kelaccount/profileinfo.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class QPixmap;

namespace KelAccount {

class KelAccountsPrivate;
class RegistrationInfo;

/// One asynchronous interface to the online account service.
///
/// Make one object, connect its signals, call initialize(), then call operations. Each is answered
/// by exactly one signal, named like it with the suffix "Response", whose first argument is an
/// ErrorStatus: 0 for success; the others mean something only with status 0, unless a signal says
/// otherwise. It returns at once where it does not say that it may block, or opens a session.
///
/// Except where an operation says otherwise, its answer never arrives from inside the call, but
/// later from the event loop of the thread that owns the object. Use and delete all objects of a
/// process on one thread that runs an event loop: they share the server's clock and more, and
/// nothing is locked. A Client may be used beside them: it has a thread of its own, and does not
/// block where some of these operations do. Deleting one, also from a slot connected to it, drops
/// the answers still to come.
///
/// This header alone suffices to connect to every signal. The keys of the maps that some carry, and
/// the types of their values, are in <kelaccount/resultkeys.h>; sentences to show for a status are
/// in <kelaccount/statustext.h>.
///
/// An object without a parent may be made on one thread and then be sent to another, with
/// QObject::moveToThread(), before its first call; everything that belongs to it goes along. Call
/// it there from then on, for instance with QMetaObject::invokeMethod() or by queued connections to
/// its slots, and have it deleted there, with deleteLater(). Its signals come from that thread;
/// connections to receivers on other threads carry all their arguments. A captcha's QPixmap is made
/// on that thread, which Qt allows where the platform has threaded pixmaps. Under a plain
/// QCoreApplication Qt has none there, not even a null one: the picture of the signal is null, and
/// must neither be copied nor be taken elsewhere by a queued connection.
///
/// ErrorStatus, ConsentQueryVariant and PreAccountInfo are declared to Qt's meta-type system by
/// their headers. The library also registers the names "ResponseType" and "RequestData" for types
/// of its own, unless they are taken: an application that registers types of these names does so
/// before it makes its first object, since Qt ends a process that registers two types of one name.
///
/// The proxy of the environment ("https_proxy", else "http_proxy") becomes the application's proxy
/// when the object is made.
///
/// Statuses that any operation of the service can carry: 401 to 423 (nothing usable came back), 500
/// to 526 (the service's own answer) and 1004; each operation lists those of its own. One that
/// cannot be signed, since the system's cryptographic library refuses SHA-1, is
/// ErrorUnabletoSendRequest (1002), with the reason in the log.
///
/// What the plugin or the sign-on daemon reported is one of these, 600 to 615 or
/// ErrorAccountConfigurationIncomplete (703) from the plugin, or a sign-on error from the daemon, 1
/// to 399. 703 also answers who meets a sign-out of the same user by another object or program.
///
/// The service answers many a change with HTTP 2xx and nothing else. So a reply of HTTP 2xx without
/// a readable document of the service is status 0 with empty values. Where an answer has values,
/// empty ones show it: no questions, no addresses, no account, variant 0, a null picture. It cannot
/// be told from success for isUserIdAvailable() and isEmailIdAvailable(), which then say that the
/// name or the address is free, for requestPasswordReset() and for
/// resetPasswordUsingSecurityQuestion(). Any other reply without a document, such as a redirect,
/// and a document that is too large or too deep to be one of the service's, is ErrorProtocolFailure
/// (423).
///
/// isUserIdAvailable(), requestPasswordReset(), retrievePasswordResetSecQuestion(),
/// resetPasswordUsingSecurityQuestion() and retrieveTermsOfService() put the user's name or the
/// service id, and the terms' language and country, into the address of their request as they are.
/// One that would make another address of it counts as one that is missing, and nothing is sent:
/// with "/", "?", "#", "%" or a control character, or being "." or ".."; a language or country,
/// wherever one is asked for, also with "&" or "=". That is ErrorInvalidParameter (1001) where the
/// operation checks its arguments, also for a language or country that may be empty, and
/// ErrorUnabletoSendRequest (1002) for requestPasswordReset() and retrieveSecurityQuestionList(),
/// which check none. All other characters are sent; but a user's name of a dot and one character
/// more, such as ".a", cannot be by the operations about a forgotten password (1002).
///
/// What goes through the device's sign-on daemon cannot be of any length. The values of one
/// changePassword(), updateSecurityQuestion() or userIdUpdate() may have some 900 characters
/// together, a password to sign in with 1,500, and the values of a registration some 1,500, its
/// password counting twice, less half of the bytes of the device's service tag; beyond that it is
/// ErrorInvalidParameter (1001), and the service is told nothing.
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
    /// ErrorInvalidRequest (1000) when the object is initialised already and keeps what it was
    /// given then, or ErrorInvalidParameter (1001) for an empty key or secret.
    void initialize(const QString& consumerKey, const QString& consumerSecret, int server,
                    const QString& zorService, const QVariantMap& connectionDetail);

    /// Retired: whatever its arguments, it is answered by initializeResponse() with
    /// ErrorInvalidRequest (1000). Call initialize().
    void initValues(const QString& first, const QString& second, int third);

    /// Is a user name free?
    ///
    /// @param userId  the name, not empty
    ///
    /// Answered by isUserIdAvailableResponse(): 0 with the outcome, ErrorInvalidParameter (1001)
    /// for an empty name, ErrorInitializationPending (802) before initialize(),
    /// ErrorUnabletoSendRequest (1002), or a status of the network or the service, such as 512 for
    /// a reserved name.
    void isUserIdAvailable(const QString& userId);

    /// Fetches a picture with a text that persons are meant to read, and programs are not.
    ///
    /// @param width, height  wanted size in pixels; the service may round it
    ///
    /// Answered by captchaImageResponse() and then by retrieveCaptchaImageResponse(), with 0 always
    /// when a reply came: a null picture is how a failure shows. Refusals come by
    /// captchaImageResponse() alone: ErrorInitializationPending (802), ErrorUnabletoSendRequest
    /// (1002). The object remembers the id, for a registration or a recovery that gives none.
    /// The picture is null, and a warning logged, under a plain QCoreApplication, which cannot hold
    /// pictures, and when it has more than 16 megapixels. Where the library's module with pictures
    /// is missing, nothing is sent (1002).
    void retrieveCaptchaImage(int width, int height);

    /// Registers an account, stores its credentials on the device and sets the account up there.
    ///
    /// @param info  complete with an e-mail address or else a user name and a mobile number, and a
    ///              password; also a captcha's text where isCaptchaRequired(). Copied.
    /// @param configureOnDb  false: no account is created on the device, the credentials are stored
    ///
    /// Answered by registerAccountResponse(): 0 with the keys "IdentityId", "AccountId", "LoginId",
    /// "UserId" and "EmailAddress"; ErrorInitializationPending (802),
    /// ErrorAccountConfigurationInProgress (804), ErrorAccountAlreadyPresent (803),
    /// ErrorInvalidParameter (1001), in that order; ErrorStoreCredentialsFailed (800),
    /// ErrorFailedToEstablishZorAuthSession (806), ErrorFailedToConfigureAccount (805), or what the
    /// plugin reported (600 to 615, or what it passed on from network and service) or the sign-on
    /// daemon, when it went away (3). After a failure nothing is left on the device. The answer
    /// comes when the account is stored, or when what was stored is gone again; the application may
    /// end in its slot.
    ///
    /// 803 also comes at the end, when somebody else has set an account up meanwhile. Whatever
    /// fails once the service has registered (803 at the end, 805, a lost answer), the account
    /// stays at the service: the user can sign in with signInAndConfigure().
    ///
    /// May block: 0.5 s when the device's tag server has to be started, 10 s at most when it does
    /// not answer.
    void registerAccount(const RegistrationInfo& info, bool configureOnDb);

    /// The same for scripts. ErrorInvalidParameter (1001) when the object is null or no
    /// RegistrationInfo; it stays the caller's.
    void registerAccount(QObject* info, bool configureOnDb);

    /// Fetches the security questions that a user can choose from.
    ///
    /// @param language  two-letter code (ISO 639-1) of the questions' language
    ///
    /// Answered by securityQuestionListResponse(): 0 with question id to text, 802, 1002, or a
    /// status of the network or the service.
    void retrieveSecurityQuestionList(const QString& language);

    /// Asks for an account that the service holds ready for the device's SIM.
    ///
    /// Answered by detectPreAccountResponse(): 0 with the account, 802, 1002, or a status of the
    /// network or the service. Asking the modem may block for some seconds when its service hangs.
    void detectPreAccount();

    /// Asks where a service's terms are.
    ///
    /// @param serviceId  not empty
    /// @param language   two-letter code, or empty
    /// @param country    two-letter code (ISO 3166-1), or empty
    /// @param format     0 for plain text, anything else for HTML
    ///
    /// Answered by termsOfServiceResponse(): 0 with kind to address, ErrorInvalidParameter (1001)
    /// for an empty service, 802, 1002, or a status of the network or the service.
    void retrieveTermsOfService(const QString& serviceId, const QString& language,
                                const QString& country, int format);

    /// Signs a user in, stores the credentials on the device and sets the account up there.
    ///
    /// @param userName, password  not empty
    /// @param configureOnDb       as for registerAccount()
    ///
    /// Answered by signInAndConfigureResponse(), with the values and statuses of registerAccount().
    void signInAndConfigure(const QString& userName, const QString& password, bool configureOnDb);

    /// Whether a registration has to solve a captcha: the device has no service tag to show
    /// instead. The first call asks the device's tag server and may block, see registerAccount().
    /// Answers at once; no signal.
    bool isCaptchaRequired();

    /// Whether the device has an account of the service, enabled or not. Answers at once; no
    /// signal.
    bool isKeLAccountConfigured();

    /// Is an e-mail address free?
    ///
    /// @param email  not empty
    ///
    /// Answered by isEmailIdAvailableResponse(): 0 with the outcome, ErrorInvalidParameter (1001)
    /// for an empty address, 802, 1002, or a status of the network or the service. May block, see
    /// registerAccount().
    void isEmailIdAvailable(const QString& email);

    /// Asks how the user is to be asked for marketing consent.
    ///
    /// Answered by marketingVariantResponse(): 0 with the variant, 802, 1002, or a status of the
    /// network or the service; the variant is 0 when it is not known.
    void queryMarketingVariant();

    /// Has a recovery message sent to a user who forgot the password.
    ///
    /// @param userId       user name, e-mail address or mobile number
    /// @param captchaText  what the user read from the captcha fetched last, or empty where a
    ///                     service tag stands in for it
    /// @param sendMessage  true: a message with the given body; false: the plain recovery token
    /// @param messageBody  the message's text, or empty for the service's own
    ///
    /// Answered by requestPasswordResetResponse(): 0, 802, 1002, or a status of the network or the
    /// service, such as ErrorInvalidCaptcha (517) or ErrorUserNotFound (519). May block, see
    /// registerAccount().
    void requestPasswordReset(const QString& userId, const QString& captchaText, bool sendMessage,
                              const QString& messageBody);

    /// Downloads the profile of the user who is signed in.
    ///
    /// Answered by downloadProfileResponse(), whose profile belongs to this object and lives as
    /// long: 0; ErrorInitializationPending (802) and ErrorAccountConfigurationInProgress (804) and
    /// ErrorFailedToEstablishZorAuthSession (806) with a null pointer; what the plugin or the
    /// sign-on daemon reported, and ErrorAuthSessionInitializationFailed (704), with an empty
    /// profile.
    ///
    /// This and the other operations of a signed-in user open the session when it is not open yet:
    /// then the event loop runs before the call returns. What is called meanwhile is answered with
    /// 704 when the session does not come about.
    void downloadProfile();

    /// Changes the security question of the user who is signed in.
    ///
    /// @param question  the question's id
    /// @param answer    a secret; never logged
    ///
    /// Answered by updateSecurityQuestionResponse(): 0, 704, 802, 804, 806, or what the plugin or
    /// the sign-on daemon reported.
    void updateSecurityQuestion(const QString& question, const QString& answer);

    /// Makes sure that there is an access token.
    ///
    /// @param credentialsId  the credentials of the device's enabled account, or the "IdentityId"
    ///                       that a set-up of this object returned; 0 for the account's, or without
    ///                       an account those of the last set-up that made none
    ///
    /// Answered by ensureTokenAvailableResponse(): 0, 802, 804, ErrorInvalidParameter (1001) for
    /// other credentials, 704, 806 also when somebody has removed them, or what the plugin or the
    /// sign-on daemon reported.
    void ensureTokenAvailable(unsigned int credentialsId);

    /// Changes the password of the user who is signed in.
    ///
    /// @param oldPassword, newPassword  not empty; never logged
    ///
    /// Answered by changePasswordResponse(): 0, 704, 802, 804, ErrorInvalidParameter (1001), 806,
    /// or what the plugin or the sign-on daemon reported, such as ErrorOldPasswordMismatch (614). 0
    /// says that the service has the new password. Where the daemon cannot store it, which it tells
    /// nobody, the next use of the password is refused; signing out and in again mends that.
    void changePassword(const QString& oldPassword, const QString& newPassword);

    /// Gives the user who is signed in a user name.
    ///
    /// @param userId  the new name, not empty
    ///
    /// Answered by userIdUpdateResponse(): 0, 704, 802, 804, ErrorInvalidParameter (1001), 806, or
    /// what the plugin or the sign-on daemon reported, such as ErrorUserNameAlreadySet (608).
    void userIdUpdate(const QString& userId);

    /// Asks for the security question of a user who forgot the password.
    ///
    /// @param userId    user name, e-mail address or mobile number, not empty
    /// @param language  two-letter code of the question's language, not empty
    ///
    /// Answered by retrievePasswordResetSecQuestionResponse(): 0 with the keys "userId",
    /// "securityQuestionId" and "securityQuestionText", ErrorInvalidParameter (1001), 802, 1002, or
    /// a status of the network or the service.
    void retrievePasswordResetSecQuestion(const QString& userId, const QString& language);

    /// Sets a new password for a user who knows the answer to the security question.
    ///
    /// @param userId          user name, e-mail address or mobile number
    /// @param securityToken   from the recovery message
    /// @param newPassword, securityAnswer  never logged
    ///
    /// None may be empty. Answered by resetPasswordUsingSecurityQuestionResponse(): 0,
    /// ErrorInvalidParameter (1001), 802, 1002, or a status of the network or the service.
    void resetPasswordUsingSecurityQuestion(const QString& userId, const QString& securityToken,
                                            const QString& newPassword,
                                            const QString& securityAnswer);

    /// Ends the sign-on session. Works before initialize(), too.
    ///
    /// Answered by closeResponse(), from inside the call: always 0.
    void close();

    /// Finds the country of the device: of its SIM's home network, or else of the region that its
    /// user has set. Works before initialize(), too.
    ///
    /// Answered by retrieveCountryCodeResponse(): 0 with the two-letter code, or 807, a status
    /// without a name, when it is not known. Asking the modem may block for some seconds when its
    /// service hangs.
    void retrieveCountryCode();

Q_SIGNALS:
    /// Answers initialize() and initValues().
    void initializeResponse(KelAccount::ErrorStatus error);

    /// Answers isUserIdAvailable(). Of a taken name, `suggestions` are free ones like it, in the
    /// service's order.
    void isUserIdAvailableResponse(KelAccount::ErrorStatus error, bool available,
                                   QStringList suggestions);

    /// A captcha picture, null when it could not be had. Include `<QPixmap>` to use it.
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

    /// The user's profile, owned by the object that sent the signal. Null for a call that was
    /// refused.
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
