// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/call.h>
#include <kelaccount/errorstatus.h>
#include <kelaccount/export.h>
#include <kelaccount/results.h>

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

namespace KelAccount {

class ClientPrivate;

/// Says that only the newest of several questions of one kind is of interest.
struct LatestTag
{
};
inline constexpr LatestTag Latest{};

/// The same, and that a question is asked when the user has stopped typing: when so much time has
/// passed without a newer one.
struct Debounce
{
    std::chrono::milliseconds pause;
};

/// When a question is asked, and what becomes of the ones before it. At once, unless something else
/// is said; the others are answered, too.
class When
{
public:
    constexpr When() = default;
    constexpr When(LatestTag) : mNewestOnly(true) {}
    constexpr When(Debounce debounce) : mNewestOnly(true), mPause(debounce.pause) {}

    constexpr bool newestOnly() const { return mNewestOnly; }
    constexpr std::chrono::milliseconds pause() const { return mPause; }

private:
    bool mNewestOnly = false;
    std::chrono::milliseconds mPause{0};
};

/// The account service, in calls that one can match with their answers, cancel and await.
///
/// Each operation returns a Call at once; nothing of it is done on the caller's thread. The client
/// keeps what does the work, and what may wait for a hanging service, on a thread of its own.
///
/// @code{.cpp}
/// KelAccount::Client client;
/// client.initialize(key, secret, KelAccount::Server::Production, serviceName);
/// client.isUserIdAvailable(name).then(
///     this, [this](const KelAccount::Availability& a) { show(a.available, a.suggestions); },
///     [this](const KelAccount::Failure& f) { complain(f.text); });
/// @endcode
///
/// A client, its calls and the contexts given to them belong to one thread, usually that of the
/// user interface, with an event loop and a QCoreApplication. Calls go out in the order in which
/// they were made, and may be answered in any. Clients and KelAccounts objects can be used beside
/// one another; what they do to the device, they all see. Each keeps an own estimate of the
/// servers' clocks. What KelAccounts says of arguments and statuses holds here, too; where it has
/// more than one signal or an empty value for a failure, there is one Failure with the true status.
///
/// Of the two functions given to Call::then(), and of the future:
///
/// | what happens                                     | then()            | future()          |
/// |--------------------------------------------------|-------------------|-------------------|
/// | the operation ends, well or not                  | one of them, once | finished with it  |
/// | cancel() before the operation ended              | none              | finished with 405 |
/// | cancel() after that, before the function was run | none              | finished with it  |
/// | a newer question with Latest or Debounce         | as cancel()       | as cancel()       |
/// | then() on a finished call                        | one of them, once | finished with it  |
/// | all copies of the Call are dropped               | one of them, once | finished with it  |
/// | `context` is deleted before the function was run | none              | finished with it  |
/// | the client is deleted before the operation ended | none              | finished with 405 |
/// | the client is deleted after that, before the function was run | none | finished with it  |
/// | the QCoreApplication is deleted                  | as for the client | as for the client |
/// | a call is made after that                        | none              | finished with 405 |
///
/// A function may delete the client, its context and the application, run an event loop, and make
/// and cancel calls. A client takes less than 50 ms to be deleted, whatever it is doing; what it
/// has to take back from the device by then is taken back afterwards, for which the end of the
/// application waits ten seconds at most.
///
/// A process that makes a client makes a thread for it, and one more for all of them, through which
/// the sign-on library keeps its connection to the daemon.
class KELACCOUNT_EXPORT Client : public QObject
{
    Q_OBJECT

public:
    explicit Client(QObject* parent = nullptr);
    ~Client() override;

    /// Says who calls, and whom; must succeed once before any other operation but close(),
    /// retrieveCountryCode(), isCaptchaRequired() and isKeLAccountConfigured(). Calls made after it
    /// need not wait for its answer. See KelAccounts::initialize().
    Call<Done> initialize(const QString& consumerKey, const QString& consumerSecret, Server server,
                          const QString& serviceName);

    /// Makes a connection to the service ready, so that the next operation of it takes one round
    /// trip instead of three or four. Call it after initialize(), when a screen opens from which
    /// the user will ask something, and again when the user comes back to it.
    ///
    /// On a device without an account, the sign-on plugin, which signs in and registers in a
    /// process of its own, is started and has a connection opened, too. Nothing is stored for it.
    ///
    /// It is kept ready for half a minute: renewed nine times, each time when it was idle for three
    /// seconds, and only while no operation keeps one in use. After that nothing is opened until
    /// the next prepare() or operation; nor after it could not be opened, which is not told: the
    /// next operation will tell. An operation that is called while it is opened waits for it, for
    /// four seconds at most. It ends with the client. Before initialize(), it does nothing.
    void prepare();

    /// Is a user name free?
    Call<Availability> isUserIdAvailable(const QString& userId, When when = {});

    /// Is an e-mail address free?
    Call<Availability> isEmailIdAvailable(const QString& email, When when = {});

    /// Fetches a captcha of about that size in pixels.
    Call<Captcha> retrieveCaptchaImage(int width, int height, When when = {});

    /// Registers an account, stores its credentials and sets the account up on the device. One that
    /// is cancelled is taken back, and until that is over the next is refused with 804.
    Call<SetUp> registerAccount(const Registration& registration,
                                DeviceAccount account = DeviceAccount::Create);

    /// Signs a user in, stores the credentials and sets the account up on the device.
    Call<SetUp> signInAndConfigure(const QString& userName, const QString& password,
                                   DeviceAccount account = DeviceAccount::Create);

    /// The security questions that a user can choose from.
    /// @param language  two-letter code (ISO 639-1)
    /// @param when      how the question stands to others of its kind
    Call<SecurityQuestions> retrieveSecurityQuestionList(const QString& language, When when = {});

    /// The account that the service holds ready for the device's SIM.
    Call<PreAccount> detectPreAccount(When when = {});

    /// Where the terms of a service are; language and country may be empty.
    Call<Terms> retrieveTermsOfService(const QString& serviceId, const QString& language,
                                       const QString& country, TermsFormat format, When when = {});

    /// How the user is to be asked for consent to marketing.
    Call<MarketingConsent> queryMarketingVariant(When when = {});

    /// Whether a registration has to solve a captcha: the device has no service tag to show
    /// instead.
    Call<CaptchaRequirement> isCaptchaRequired();

    /// Whether the device has an account of the service, enabled or not.
    Call<DeviceAccountState> isKeLAccountConfigured();

    /// Has a recovery message sent to a user who forgot the password.
    /// @param userId       user name, e-mail address or mobile number
    /// @param captchaText  what the user read from the captcha fetched last, or empty where a
    ///                     service tag stands in for it
    /// @param recovery     what the user is sent
    /// @param messageBody  the message's text, or empty for the service's own
    Call<Done> requestPasswordReset(const QString& userId, const QString& captchaText,
                                    RecoveryBy recovery, const QString& messageBody = QString());

    /// The security question of a user who forgot the password.
    Call<RecoveryQuestion> retrievePasswordResetSecQuestion(const QString& userId,
                                                            const QString& language,
                                                            When when = {});

    /// Sets a new password for a user who knows the answer to the security question.
    Call<Done> resetPasswordUsingSecurityQuestion(const QString& userId,
                                                  const QString& securityToken,
                                                  const QString& newPassword,
                                                  const QString& securityAnswer);

    /// The profile of the user who is signed in.
    Call<Profile> downloadProfile();

    /// Changes the security question of the user who is signed in.
    Call<Done> updateSecurityQuestion(const QString& questionId, const QString& answer);

    /// Makes sure that there is an access token.
    /// @param credentialsId  SetUp::credentialsId, or 0 for the device account's
    Call<Done> ensureTokenAvailable(quint32 credentialsId = 0);

    /// Changes the password of the user who is signed in.
    Call<Done> changePassword(const QString& oldPassword, const QString& newPassword);

    /// Gives the user who is signed in a user name.
    Call<Done> userIdUpdate(const QString& userId);

    /// Signs the user out of this device: has the service forget the token and takes the stored
    /// session, the credentials and the device's account away. Answered when all is gone, also when
    /// some of it was not there. After a failure it can be tried again, and ends the same.
    Call<Done> signOut();

    /// Ends the sign-on session.
    Call<Done> close();

    /// The country of the device: of its SIM's home network, or else of the region that its user
    /// has set.
    Call<Country> retrieveCountryCode(When when = {});

private:
    Q_DISABLE_COPY(Client)

    std::unique_ptr<ClientPrivate> mPrivate;
};

} // namespace KelAccount
