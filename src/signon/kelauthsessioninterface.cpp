// SPDX-License-Identifier: LGPL-2.1-or-later
#include "signon/kelauthsessioninterface.h"

#include "common/flightrecord.h"
#include "common/logging.h"
#include "common/signondaemon.h"
#include "common/typename.h"
#include "configure/deviceaccounts.h"
#include "kelaccount/errorstatus.h"
#include "signon/pluginerror.h"
#include "signon/pluginmethod.h"
#include "signon/pluginversion.h"
#include "signon/zorauthsessiondata.h"

#include <SignOn/AuthService>
#include <SignOn/Identity>

#include <QDBusConnection>
#include <QEventLoop>

#include <algorithm>
#include <memory>
#include <utility>

using ZorKeLSignOn::ZorAuthSessionData;

namespace KelAccount {

namespace {

constexpr int openingTimeoutMs = 90000;
// The service has a minute for each request, and requests of other sessions on the same credentials
// may come first.
constexpr int requestTimeoutMs = 300000;
constexpr int cancelAfterMs = 1000;
constexpr int startingDelayMs = 50;

} // namespace

KelAuthSessionInterface::KelAuthSessionInterface(QObject* parent)
    // Children, so that they come along to another thread.
    : QObject(parent), mStarting(this), mCancelling(this), mRequestGuard(this), mOpeningGuard(this)
{
    registerTypeName<RequestData>("RequestData");
    mOpeningGuard.setSingleShot(true);
    mOpeningGuard.setInterval(openingTimeoutMs);
    connect(&mOpeningGuard, &QTimer::timeout, this,
            &KelAuthSessionInterface::processOpeningTimeout);
    mRequestGuard.setSingleShot(true);
    mRequestGuard.setInterval(requestTimeoutMs);
    connect(&mRequestGuard, &QTimer::timeout, this,
            &KelAuthSessionInterface::processRequestTimeout);
    mCancelling.setSingleShot(true);
    connect(&mCancelling, &QTimer::timeout, this, &KelAuthSessionInterface::cancelWhenDue);
    mStarting.setSingleShot(true);
    mStarting.setInterval(startingDelayMs);
    connect(&mStarting, &QTimer::timeout, this, &KelAuthSessionInterface::startDaemon);
    // From the event loop: there may be no application yet.
    QMetaObject::invokeMethod(
        this, [this] { mStarting.start(); }, Qt::QueuedConnection);
}

// So that the daemon runs before it is needed. Nobody waits for what it says. But not while a first
// call is on its way that asks the service alone: reaching the bus and the daemon takes a tenth of
// its time, on the same thread, and a process that ends with it needs neither.
void KelAuthSessionInterface::startDaemon()
{
    if (!QDBusConnection::sessionBus().isConnected())
        return;
    ensureSignOnDaemon(this, openingTimeoutMs, [](bool running) {
        if (running)
            SignOn::AuthService().queryMethods();
    });
}

void KelAuthSessionInterface::watchDaemon()
{
    if (std::exchange(mWatchesDaemon, true))
        return;
    whenSignOnDaemonIsLost(this, [this] { processDaemonLoss(); });
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected())
        bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                    QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                    this, SLOT(processBusLoss()));
}

KelAuthSessionInterface::~KelAuthSessionInterface()
{
    destroyActiveAuthSession();
    if (mOpeningLoop)
        mOpeningLoop->quit();
}

QString KelAuthSessionInterface::present(const QString& text)
{
    return text.isNull() ? QString(QLatin1String("")) : text;
}

bool KelAuthSessionInterface::createAuthSession(const QString& consumerKey,
                                                const QString& consumerSecret,
                                                const QString& serviceName, int serverUrlValue,
                                                unsigned credentialsId)
{
    if (credentialsId == 0)
        credentialsId = retrieveActiveAccountCredId();
    if (mSessionOpen && consumerKey == mConsumerKey && consumerSecret == mConsumerSecret &&
        serverUrlValue == mServerUrlValue && credentialsId == mCredentialsId &&
        !areCredentialsGone())
        return true;
    if (mOpeningLoop) {
        qCCritical(logSignon, "A session is being opened; another cannot be opened meanwhile");
        return false;
    }
    destroyActiveAuthSession();

    mConsumerKey = present(consumerKey);
    mConsumerSecret = present(consumerSecret);
    mServiceName = present(serviceName);
    mServerUrlValue = serverUrlValue;
    if (credentialsId == 0) {
        qCCritical(logSignon,
                   "KelAuthSessionInterface::createAuthSession: Unable to find any valid "
                   "credential id.. unable to proceed");
        return false;
    }
    watchDaemon();
    if (!reachesSessionBus())
        return false;
    mCredentialsId = credentialsId;
    mSessionOpen = 1;
    return waitForPlugin();
}

// Whether the daemon has said that somebody removed them. The library's object keeps it to itself
// until it is asked for something, and then answers at once.
bool KelAuthSessionInterface::areCredentialsGone()
{
    if (!mIdentity)
        return false; // the session is just being opened
    bool gone = false;
    // For the one question below alone.
    const auto connection =
        connect(mIdentity, &SignOn::Identity::error, this,
                [&gone](const SignOn::Error& error) { // clazy:exclude=lambda-in-connect
                    gone = error.type() == SignOn::Error::IdentityNotFound;
                });
    mIdentity->queryInfo();
    disconnect(connection);
    return gone;
}

bool KelAuthSessionInterface::waitForPlugin()
{
    const QPointer<KelAuthSessionInterface> alive(this);
    QEventLoop loop; // not a member: it has to outlive this object if that is deleted in the wait
    mOpeningLoop = &loop;
    setCurrent({InitialiseRequest, 0}); // whatever is asked for from now on comes after it
    ensureSignOnDaemon(this, mOpeningGuard.interval(),
                       [this, session = mSessionNumber](bool running) {
                           if (session == mSessionNumber)
                               beginSession(running);
                       });
    mOpeningGuard.start();
    loop.exec();
    if (!alive)
        return false;
    mOpeningGuard.stop();
    mOpeningLoop = nullptr;
    // Still unanswered: every event loop was told to end, because the application does.
    if (mCurrentRequest == InitialiseRequest) {
        qCCritical(logSignon, "The application ended its event loops while a session was opened");
        closeSession(ErrorAuthSessionInitializationFailed);
    }
    return mSessionOpen != 0;
}

void KelAuthSessionInterface::beginSession(bool daemonRuns)
{
    mDaemonConfirmed = daemonRuns;
    if (!daemonRuns || !openSession()) {
        closeSession(ErrorAuthSessionInitializationFailed);
        return;
    }
    mInitialiseRepeated = false;
    sendInitialise();
}

void KelAuthSessionInterface::sendInitialise()
{
    ZorAuthSessionData record;
    addCommonKeys(record);
    record.setZorService(mServiceName);
    if (std::exchange(mWantsConnection, false))
        record.setPrepare(true);
    mCurrentRequest = NoRequest; // the place was only kept
    const quint64 caller = std::exchange(mCaller, 0);
    enQueueRequestToAuthPlugin(record, QStringLiteral("initialise"), InitialiseRequest);
    mCaller = caller;
}

bool KelAuthSessionInterface::openSession()
{
    mIdentity = SignOn::Identity::existingIdentity(mCredentialsId, this);
    if (!mIdentity) {
        qCCritical(logSignon, "Failed to create identify object from existing credential id!!");
        return false;
    }
    mAuthSession = mIdentity->createSession(pluginMethod);
    if (!mAuthSession) {
        qCCritical(logSignon, "Failed to create zor auth session");
        return false;
    }
    if (!connect(mAuthSession, &SignOn::AuthSession::response, this,
                 &KelAuthSessionInterface::processPluginResponse)) {
        qCCritical(logSignon, "Failed to connect to response");
        return false;
    }
    if (!connect(mAuthSession, &SignOn::AuthSession::error, this,
                 &KelAuthSessionInterface::processPluginError)) {
        qCCritical(logSignon, "Failed to connect to error");
        return false;
    }
    connect(mAuthSession, &QObject::destroyed, this, &KelAuthSessionInterface::processSessionEnd);
    return true;
}

void KelAuthSessionInterface::processOpeningTimeout()
{
    qCCritical(logSignon, "The authentication plugin did not answer \"initialise\" in time");
    if (mAuthSession)
        mAuthSession->cancel();
    closeSession(ErrorAuthSessionInitializationFailed);
}

void KelAuthSessionInterface::processDaemonLoss()
{
    if (!mDaemonConfirmed)
        return;
    // A daemon that nobody uses ends by itself, and the plugin with it. The next session starts
    // both.
    if (mCurrentRequest != NoRequest)
        qCCritical(logSignon, "The sign-on daemon went away while a request was in flight");
    closeSession(SignOn::Error::InternalCommunication);
}

// The sign-on library deletes the sessions of a user whom somebody signs out at the daemon, and
// says nothing of what the plugin was asked by them.
void KelAuthSessionInterface::processSessionEnd()
{
    if (mCurrentRequest != NoRequest)
        qCCritical(logSignon, "The user was signed out while a request was in flight");
    closeSession(SignOn::Error::InternalCommunication);
}

// The daemon loses a request when a cancellation of another session's meets its answer.
void KelAuthSessionInterface::processRequestTimeout()
{
    qCCritical(logSignon, "The sign-on daemon did not answer a request in time");
    closeSession(SignOn::Error::InternalCommunication);
}

void KelAuthSessionInterface::processBusLoss()
{
    qCCritical(logSignon, "The session bus went away");
    closeSession(SignOn::Error::InternalCommunication);
}

void KelAuthSessionInterface::destroyActiveAuthSession()
{
    closeSession(ErrorOperationCanceled);
}

void KelAuthSessionInterface::cancelActiveRequest()
{
    if (mAuthSession && mInFlight.isValid())
        mAuthSession->cancel();
    mInFlight.invalidate();
}

void KelAuthSessionInterface::closeSession(int code)
{
    ++mSessionNumber;
    mDaemonConfirmed = false;
    mSessionOpen = 0;
    if (mAuthSession) {
        mAuthSession->disconnect();
        // The daemon runs the requests of all sessions on these credentials one by one: a plugin
        // that hangs would keep the next session waiting. But not what may be answered this moment:
        // when that and the cancellation meet, the daemon loses the request that comes next.
        if (mInFlight.isValid() && mInFlight.hasExpired(cancelAfterMs))
            mAuthSession->cancel();
    }
    if (mIdentity) {
        if (mAuthSession)
            mIdentity->destroySession(mAuthSession);
        // Even when this object goes at once: that may be in a slot of the session's, which has
        // more to do when the slot returns.
        mIdentity->setParent(nullptr);
        mIdentity->deleteLater();
    }
    mIdentity.clear();
    mAuthSession.clear();
    mInFlight.invalidate();
    mCancelling.stop();
    mRequestGuard.stop();
    abandonRequests(code);
}

void KelAuthSessionInterface::abandonRequests(int code)
{
    const Asked current = takeCurrent();
    const QQueue<RequestData> pending = std::exchange(mPendingRequests, {});
    if (current.type != NoRequest)
        answerLater(current, code);
    for (const RequestData& request : pending)
        answerLater({request.requestType, request.caller}, code);
}

void KelAuthSessionInterface::abandon(quint64 caller)
{
    if (caller == 0)
        return;
    const auto isTheirs = [caller](const RequestData& r) { return r.caller == caller; };
    mPendingRequests.erase(
        std::remove_if(mPendingRequests.begin(), mPendingRequests.end(), isTheirs),
        mPendingRequests.end());
    if (mCurrentCaller != caller)
        return;
    mCurrentAbandoned = true;
    if (mInFlight.isValid())
        mCancelling.start(int(qMax<qint64>(0, cancelAfterMs - mInFlight.elapsed())));
}

// The plugin has had it for long enough: one that answered this moment is not met by this.
void KelAuthSessionInterface::cancelWhenDue()
{
    if (mAuthSession && mInFlight.isValid())
        mAuthSession->cancel();
}

bool KelAuthSessionInterface::sessionExists(unsigned credentialsId)
{
    if (credentialsId == 0)
        credentialsId = retrieveActiveAccountCredId();
    return mSessionOpen && credentialsId == mCredentialsId;
}

unsigned KelAuthSessionInterface::retrieveActiveAccountCredId()
{
    const std::optional<unsigned> credentialsId = deviceAccounts().activeCredentialsId();
    if (!credentialsId)
        qCCritical(logSignon, "Failed to get manager");
    return credentialsId.value_or(0);
}

} // namespace KelAccount
