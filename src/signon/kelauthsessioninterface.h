// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "common/wipe.h"
#include "signon/requestdata.h"

#include <SignOn/AuthSession>
#include <SignOn/Error>
#include <SignOn/SessionData>

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QString>
#include <QTimer>

class QEventLoop;

namespace KelRestHandler {
struct RegistrationInfoData;
}

namespace SignOn {
class Identity;
}

namespace KelAccount {

/// The library's only door to the authentication plugin: opens a session on the user's stored
/// credentials and runs requests through it, one at a time, in the order in which they were made.
///
/// Each operation is answered exactly once, by its own signal and never before the call has
/// returned (`close()` alone answers at once). The signals' int is 0, or the sign-on error code
/// that the plugin or the daemon reported, or one of the codes below when the request never got an
/// answer:
/// - 704 (ErrorAuthSessionInitializationFailed): there was no session, or it could not be opened;
/// - 405 (ErrorOperationCanceled): the session was closed with the request in flight or waiting;
/// - 3 (SignOn::Error::InternalCommunication): the daemon or the bus went away, somebody signed the
///   user out at the daemon, or it has lost the request: it has said nothing for five minutes;
/// - 1001 (ErrorInvalidParameter): a null argument.
/// Nothing is answered once this object is being destroyed.
class KelAuthSessionInterface : public QObject
{
    Q_OBJECT

public:
    explicit KelAuthSessionInterface(QObject* parent = nullptr);
    ~KelAuthSessionInterface() override;

    /// Opens a session on the credentials and initialises the plugin; 0 stands for the credentials
    /// of the device's account. True when the session is open.
    ///
    /// Runs the event loop until the plugin has answered, so anything can happen before this
    /// returns, this object's end included: then it returns false and must not be used. When called
    /// from inside that wait it returns true for the same key, secret, server and credentials,
    /// which promises no more than that requests will wait for the session; anything else is
    /// refused. With a session already open for the same four, returns true without asking the
    /// plugin, unless the credentials are gone; the service name is not compared.
    bool createAuthSession(const QString& consumerKey, const QString& consumerSecret,
                           const QString& serviceName, int serverUrlValue, unsigned credentialsId);

    /// Whether a session is open on these credentials; 0 as above.
    bool sessionExists(unsigned credentialsId);

    /// The credentials of the first enabled account of the service; 0 without one.
    unsigned retrieveActiveAccountCredId();

    /// Has the plugin open a connection to the service with the next "initialise": what is asked
    /// right behind it will need one.
    void openConnectionNext() { mWantsConnection = true; }

    /// Closes the session, if one is open, without a word to the plugin. Only a request that the
    /// plugin has had for a second or longer is cancelled, so that one that hangs does not stand in
    /// the way of the next session on the same credentials.
    void destroyActiveAuthSession();

    /// Cancels the request that the plugin has, if any, for a session that is the last on its
    /// credentials.
    void cancelActiveRequest();

    void signIn();
    void token();
    void downloadProfile();
    void setSecurityQuestion(const QString& question, const QString& answer);
    void registerAccount(const KelRestHandler::RegistrationInfoData* registration);
    void changePassword(const QString& oldPassword, const QString& newPassword);
    void userIdUpdate(const QString& newUserName);
    void updateDeviceInfo();
    void ensureToken();
    /// Has the token deleted at the service. The plugin reports 604 when there is none.
    void signOut();
    void close();

    /// Who makes the requests from now on; answeredCaller() says it with each answer. 0 is nobody.
    void setCaller(quint64 caller) { mCaller = caller; }
    quint64 answeredCaller() const { return mAnsweredCaller; }

    /// The caller's requests do not reach the plugin any more. One that it has is cancelled, though
    /// not in its first second; it is answered in its turn.
    void abandon(quint64 caller);

    void enQueueRequestToAuthPlugin(const ZorKeLSignOn::ZorAuthSessionData& record,
                                    const QString& mechanism, KelAccountRequestType type);
    Q_INVOKABLE void sendRequest(KelAccount::RequestData request);
    void processPendingRequest();

    /// How long the plugin may take to be initialised: enough for one that asks the service, and
    /// short enough that a caller does not stand still for ever.
    void setOpeningTimeout(int milliseconds) { mOpeningGuard.setInterval(milliseconds); }

    /// How long a request may be with the daemon and the plugin.
    void setRequestTimeout(int milliseconds) { mRequestGuard.setInterval(milliseconds); }

Q_SIGNALS:
    void signInResponse(int error, const SignOn::SessionData& data);
    void tokenResponse(int error, QString token);
    void downloadProfileResponse(int error, const SignOn::SessionData& data);
    void setSecurityQuestionResponse(int error);
    void registerationCompleted(int error, const SignOn::SessionData& data);
    void changePasswordResponse(int error);
    void userIdUpdateResponse(int error);
    void updateDeviceInfoResponse(int error);
    void ensureTokenResponse(int error);
    void signOutResponse(int error);
    void closeResponse(int error);

public Q_SLOTS:
    void processPluginResponse(const SignOn::SessionData& data);
    void processPluginError(const SignOn::Error& error);

private Q_SLOTS:
    void processBusLoss();

private:
    void enqueue(const ZorKeLSignOn::ZorAuthSessionData& record, const QString& mechanism,
                 KelAccountRequestType type, int mostBytes);
    void startDaemon();
    void watchDaemon();
    bool areCredentialsGone();
    bool waitForPlugin();
    void beginSession(bool daemonRuns);
    void sendInitialise();
    bool openSession();
    void processDaemonLoss();
    void processOpeningTimeout();
    void processSessionEnd();
    void processRequestTimeout();
    void closeSession(int code);
    void abandonRequests(int code);
    /// A request that is to be answered: what it is, and who made it.
    struct Asked
    {
        KelAccountRequestType type;
        quint64 caller;
    };
    void setCurrent(Asked request);
    Asked takeCurrent();
    Asked takeCurrentRequest();
    void cancelWhenDue();
    void answerLater(Asked request, int code);
    void answer(Asked request, int code, const SignOn::SessionData& data);
    void emitAnswer(KelAccountRequestType type, int code, const SignOn::SessionData& data);
    /// The sign-on library leaves null values out on the way to the plugin, but an empty text is a
    /// value.
    static QString present(const QString& text);
    void addCommonKeys(ZorKeLSignOn::ZorAuthSessionData& record) const;

    QString mConsumerKey;
    SecretText mConsumerSecret;
    QString mServiceName;
    int mServerUrlValue = 0;
    quint32 mCredentialsId = 0;

    // Qt's pointers, because the sign-on library owns the session and may drop it.
    QPointer<SignOn::Identity> mIdentity;
    QPointer<SignOn::AuthSession> mAuthSession;
    int mSessionOpen = 0;        // 1 also while it is being opened
    unsigned mSessionNumber = 0; // counts up with every end of a session

    KelAccountRequestType mCurrentRequest = NoRequest;
    quint64 mCurrentCaller = 0;
    bool mCurrentAbandoned = false; // before it was sent
    QElapsedTimer mInFlight;        // since it was sent; invalid while nothing is with the plugin
    QQueue<RequestData> mPendingRequests;
    quint64 mCaller = 0;
    quint64 mAnsweredCaller = 0;
    QTimer mStarting;   // runs until the daemon is started although nobody needs it
    QTimer mCancelling; // runs while what the plugin has is to be cancelled
    QTimer mRequestGuard;

    QEventLoop* mOpeningLoop = nullptr; // on the stack of the createAuthSession() that waits
    QTimer mOpeningGuard;
    bool mInitialiseRepeated = false; // for this session
    bool mWantsConnection = false;
    bool mWatchesDaemon = false;
    bool mDaemonConfirmed = false; // runs for this session; a loss before is that of an earlier one
};

} // namespace KelAccount
