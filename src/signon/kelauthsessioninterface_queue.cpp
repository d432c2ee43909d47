// SPDX-License-Identifier: LGPL-2.1-or-later
// The queue of what the plugin is asked, one request at a time, and how each is answered.
#include "common/flightrecord.h"
#include "common/logging.h"
#include "kelaccount/errorstatus.h"
#include "signon/kelauthsessioninterface.h"
#include "signon/pluginerror.h"
#include "signon/pluginversion.h"
#include "signon/zorauthsessiondata.h"

#include <SignOn/AuthService>

#include <QEventLoop>

#include <limits>
#include <utility>

using ZorKeLSignOn::ZorAuthSessionData;

namespace KelAccount {

namespace {

/// The plugin's process has ended, or is a new one that "initialise" has not reached: the daemon
/// ends an idle one, or it crashed. The plugin says so itself, or the daemon does: with the first
/// when a request was in flight, and with the second to the request after it.
bool saysPluginEnded(int error)
{
    return error == ErrorNotInitialized || error == SignOn::Error::Unknown ||
           error == SignOn::Error::Runtime;
}

/// The daemon loses a request of more than 4 kB, together with what the plugin has it keep, which
/// may take as much again.
constexpr int mostBytesOfAUser = 2048;

int bytesOf(const SignOn::SessionData& data)
{
    int bytes = 0;
    const QStringList names = data.propertyNames();
    for (const QString& name : names) {
        const QVariant value = data.getProperty(name);
        const int characters = name.size() + (value.userType() == QMetaType::QByteArray
                                                  ? value.toByteArray().size() / 2
                                                  : value.toString().size());
        bytes += characters * int(sizeof(QChar));
    }
    return bytes;
}

void recordOf(quint64 caller, FlightRecord::Moment moment, int status = 0)
{
    if (caller != 0)
        FlightRecord::record({moment, caller, -1, status});
}

} // namespace

void KelAuthSessionInterface::enQueueRequestToAuthPlugin(const ZorAuthSessionData& record,
                                                         const QString& mechanism,
                                                         KelAccountRequestType type)
{
    // A session that does not open is told of by who opens it.
    const bool isOpening = type == InitialiseRequest;
    enqueue(record, mechanism, type,
            isOpening ? std::numeric_limits<int>::max() : mostBytesOfAUser);
}

void KelAuthSessionInterface::enqueue(const ZorAuthSessionData& record, const QString& mechanism,
                                      KelAccountRequestType type, int mostBytes)
{
    RequestData request(record, mechanism, type);
    request.sessionData.setConsumerKey(mConsumerKey);
    request.sessionData.setConsumerSecret(mConsumerSecret);
    request.sessionNumber = mSessionNumber;
    request.caller = mCaller;
    recordOf(mCaller, FlightRecord::Moment::Queued);
    if (bytesOf(request.sessionData) > mostBytes) {
        qCCritical(logSignon, "A request with values that are too long for the sign-on daemon");
        answerLater({type, mCaller}, ErrorInvalidParameter);
        return;
    }
    if (mCurrentRequest == NoRequest) {
        setCurrent({type, mCaller});
        sendRequest(request);
    } else {
        mPendingRequests.enqueue(request);
    }
}

void KelAuthSessionInterface::sendRequest(RequestData request)
{
    // Its session ended while it was on its way here, and it has been answered.
    if (request.sessionNumber != mSessionNumber)
        return;
    if (!mAuthSession) {
        qCCritical(logSignon, "A request was made while no session is open");
        abandonRequests(ErrorAuthSessionInitializationFailed);
        return;
    }
    if (mCurrentAbandoned) {
        answer(takeCurrentRequest(), ErrorOperationCanceled, SignOn::SessionData());
        return;
    }
    mInFlight.start();
    mRequestGuard.start();
    qCDebug(logSignon, "The plugin is asked: %s", qPrintable(request.mechanism));
    recordOf(mCurrentCaller, FlightRecord::Moment::WithPlugin);
    mAuthSession->process(request.sessionData, request.mechanism);
}

void KelAuthSessionInterface::processPendingRequest()
{
    if (mPendingRequests.isEmpty())
        return;
    const RequestData next = mPendingRequests.dequeue();
    setCurrent({next.requestType, next.caller});
    // From the event loop: the answer that made room for it is still being handled.
    QMetaObject::invokeMethod(
        this, [this, next] { sendRequest(next); }, Qt::QueuedConnection);
}

void KelAuthSessionInterface::setCurrent(Asked request)
{
    mCurrentRequest = request.type;
    mCurrentCaller = request.caller;
    mCurrentAbandoned = false;
}

KelAuthSessionInterface::Asked KelAuthSessionInterface::takeCurrent()
{
    const Asked request{mCurrentRequest, mCurrentCaller};
    setCurrent({NoRequest, 0});
    return request;
}

KelAuthSessionInterface::Asked KelAuthSessionInterface::takeCurrentRequest()
{
    const Asked request = takeCurrent();
    mInFlight.invalidate();
    mCancelling.stop();
    mRequestGuard.stop();
    processPendingRequest();
    return request;
}

void KelAuthSessionInterface::processPluginResponse(const SignOn::SessionData& data)
{
    if (mCurrentRequest == InitialiseRequest)
        comparePluginVersion(data);
    answer(takeCurrentRequest(), ErrorNone, data);
}

void KelAuthSessionInterface::processPluginError(const SignOn::Error& error)
{
    if (mCurrentRequest == InitialiseRequest) {
        // The daemon answers so when the plugin's process had ended, and starts it again.
        if (error.type() == SignOn::Error::Runtime && !std::exchange(mInitialiseRepeated, true)) {
            sendInitialise();
            return;
        }
        logSessionRefusal(error);
        mCurrentRequest = NoRequest;
        mInFlight.invalidate();
        closeSession(ErrorAuthSessionInitializationFailed);
        answer({InitialiseRequest, 0}, error.type(), SignOn::SessionData());
        return;
    }
    logAccountError(error);
    // The next session starts from the top.
    if (saysPluginEnded(error.type()))
        mSessionOpen = 0;
    answer(takeCurrentRequest(), error.type(), SignOn::SessionData());
}

/// For a request that gets no answer from the plugin.
void KelAuthSessionInterface::answerLater(Asked request, int code)
{
    if (request.type == InitialiseRequest) {
        answer(request, code, SignOn::SessionData()); // wakes the wait and emits nothing
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, request, code] { answer(request, code, SignOn::SessionData()); },
        Qt::QueuedConnection);
}

/// This object may be gone when it returns, as in everything that answers.
void KelAuthSessionInterface::answer(Asked request, int code, const SignOn::SessionData& data)
{
    const QPointer<KelAuthSessionInterface> alive(this);
    recordOf(request.caller, FlightRecord::Moment::Replied, code);
    const quint64 outer = std::exchange(mAnsweredCaller, request.caller);
    emitAnswer(request.type, code, data);
    if (alive)
        mAnsweredCaller = outer;
}

void KelAuthSessionInterface::emitAnswer(KelAccountRequestType type, int code,
                                         const SignOn::SessionData& data)
{
    switch (type) {
    case InitialiseRequest:
        if (mOpeningLoop)
            mOpeningLoop->quit();
        return;
    case SignInRequest:
        Q_EMIT signInResponse(code, data);
        return;
    case TokenRequest:
        Q_EMIT tokenResponse(code, data.getProperty(QStringLiteral("Token")).toString());
        return;
    case DownloadProfileRequest:
        Q_EMIT downloadProfileResponse(code, data);
        return;
    case SetSecurityQuestionRequest:
        Q_EMIT setSecurityQuestionResponse(code);
        return;
    case RegisterRequest:
        Q_EMIT registerationCompleted(code, data);
        return;
    case ChangePasswordRequest:
        Q_EMIT changePasswordResponse(code);
        return;
    case UserIdUpdateRequest:
        Q_EMIT userIdUpdateResponse(code);
        return;
    case UpdateDeviceInfoRequest:
        Q_EMIT updateDeviceInfoResponse(code);
        return;
    case EnsureTokenRequest:
        Q_EMIT ensureTokenResponse(code);
        return;
    case SignOutRequest:
        Q_EMIT signOutResponse(code);
        return;
    case CloseRequest:
        return; // close() has answered
    case NoRequest:
        break;
    }
    qCCritical(logSignon, "Error!!!Request type is Unknown");
}

} // namespace KelAccount
