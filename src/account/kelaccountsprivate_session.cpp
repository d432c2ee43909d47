// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations through the sign-on session.
#include "account/accountsetup.h"
#include "account/accountsignout.h"
#include "account/kelaccountsprivate.h"
#include "account/records/profileconversion.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "signon/kelauthsessioninterface.h"
#include "signon/zorauthsessionprivatedata.h"

#include <kelaccount/profileinfo.h>

#include <QPointer>

#include <new>

using ZorKeLSignOn::ZorAuthSessionPrivateData;

namespace KelAccount {

bool KelAccountsPrivate::isSessionRefused(Call call)
{
    const ErrorStatus refusal = sessionRefusal();
    if (refusal != ErrorNone)
        deferError(call, refusal);
    return refusal != ErrorNone;
}

ErrorStatus KelAccountsPrivate::sessionRefusal() const
{
    if (!mInitialized)
        return ErrorInitializationPending;
    if (mSetUp->pending() != AccountSetUp::None || mSignOut->isUnderWay())
        return ErrorAccountConfigurationInProgress;
    return ErrorNone;
}

bool KelAccountsPrivate::createSession(quint32 credentialsId)
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = mAuthSessionInterface->createAuthSession(
        mConsumerKey, mConsumerSecret, mZorService, mServerIndex, credentialsId);
    // Waiting for the plugin runs the event loop, and an application may do anything there.
    return alive && open;
}

bool KelAccountsPrivate::openSession(Call call)
{
    return openSession(call, mSetUp->sessionCredentials());
}

bool KelAccountsPrivate::openSession(Call call, quint32 credentialsId)
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = createSession(credentialsId);
    if (!alive)
        return false;
    mLastCall = call.id;
    if (!isAwaited(call.id))
        return false;
    if (!open)
        deferError(call, ErrorFailedToEstablishZorAuthSession);
    mAuthSessionInterface->setCaller(call.id);
    return open;
}

void KelAccountsPrivate::downloadProfile()
{
    const Call call = newCall(ResponseDownloadProfile);
    if (!isSessionRefused(call) && openSession(call))
        mAuthSessionInterface->downloadProfile();
}

void KelAccountsPrivate::updateSecurityQuestion(const QString& question, const QString& answer)
{
    const Call call = newCall(ResponseUpdateSecurityQuestion);
    if (!isSessionRefused(call) && openSession(call))
        mAuthSessionInterface->setSecurityQuestion(question, answer);
}

void KelAccountsPrivate::changePassword(const QString& oldPassword, const QString& newPassword)
{
    const Call call = newCall(ResponseChangePassword);
    if (isSessionRefused(call))
        return;
    if (oldPassword.isEmpty() || newPassword.isEmpty()) {
        deferError(call, ErrorInvalidParameter);
        return;
    }
    if (openSession(call))
        mAuthSessionInterface->changePassword(oldPassword, newPassword);
}

void KelAccountsPrivate::userIdUpdate(const QString& userId)
{
    const Call call = newCall(ResponseUserIdUpdate);
    if (isSessionRefused(call))
        return;
    if (userId.isEmpty()) {
        deferError(call, ErrorInvalidParameter);
        return;
    }
    if (openSession(call))
        mAuthSessionInterface->userIdUpdate(userId);
}

void KelAccountsPrivate::ensureTokenAvailable(unsigned int credentialsId)
{
    const Call call = newCall(ResponseEnsureTokenAvailable);
    if (isSessionRefused(call))
        return;
    if (credentialsId == 0)
        credentialsId = mSetUp->sessionCredentials();
    else if (!mSetUp->hasReturned(credentialsId) &&
             credentialsId != mAuthSessionInterface->retrieveActiveAccountCredId()) {
        deferError(call, ErrorInvalidParameter);
        return;
    }
    if (openSession(call, credentialsId))
        mAuthSessionInterface->ensureToken();
}

void KelAccountsPrivate::createSignOut()
{
    const auto openSession = [this](quint32 credentialsId) { return createSession(credentialsId); };
    mSignOut =
        new AccountSignOut(*mKelConfigure, *mAuthSessionInterface, *mSetUp, openSession, this);
    connect(mSignOut, &AccountSignOut::finished, this,
            [this](int status) { answerSignOut(mSignOutCall, status); });
}

void KelAccountsPrivate::answerSignOut(CallId call, int status)
{
    AnswerDetails details;
    details.status = status;
    answer(call, std::move(details), [this, status] { Q_EMIT signOutResponse(toStatus(status)); });
}

void KelAccountsPrivate::signOut()
{
    const CallId call = newCall();
    const ErrorStatus refusal = sessionRefusal();
    if (refusal != ErrorNone) {
        QMetaObject::invokeMethod(
            this, [this, call, refusal] { answerSignOut(call, refusal); }, Qt::QueuedConnection);
        return;
    }
    mSignOutCall = call;
    mSignOut->begin();
}

void KelAccountsPrivate::close()
{
    const CallId call = newCall();
    mAuthSessionInterface->setCaller(call);
    const QPointer<KelAccountsPrivate> alive(this);
    mAuthSessionInterface->close();
    if (alive)
        mLastCall = call;
}

void KelAccountsPrivate::processdownloadProfileCompleted(int error, const SignOn::SessionData& data)
{
    answerSession(error, [&] {
        auto* const profile = new (std::nothrow) ProfileInfo(this);
        if (!profile) {
            qCCritical(logAccount, "Unexpected error.. profileData object creation failed");
            Q_EMIT downloadProfileResponse(ErrorUnknown, nullptr);
            return;
        }
        if (error == ErrorNone)
            fillProfile(profile, data.data<ZorAuthSessionPrivateData>().DownloadedProfile());
        Q_EMIT downloadProfileResponse(toStatus(error), profile);
    });
}

void KelAccountsPrivate::processSetSecurityQuestionCompleted(int error)
{
    answerSession(error, [&] { Q_EMIT updateSecurityQuestionResponse(toStatus(error)); });
}

void KelAccountsPrivate::processChangePasswordCompleted(int error)
{
    answerSession(error, [&] { Q_EMIT changePasswordResponse(toStatus(error)); });
}

void KelAccountsPrivate::processUserIdUpdateCompleted(int error)
{
    answerSession(error, [&] { Q_EMIT userIdUpdateResponse(toStatus(error)); });
}

// Sent along with a set-up, which does not depend on it.
void KelAccountsPrivate::processUpdateDeviceInfoResponse(int /*error*/)
{
}

void KelAccountsPrivate::processensureTokenResponse(int error)
{
    answerSession(error, [&] { Q_EMIT ensureTokenAvailableResponse(toStatus(error)); });
}

void KelAccountsPrivate::processCloseResponse(int error)
{
    answerSession(error, [&] { Q_EMIT closeResponse(toStatus(error)); });
}

} // namespace KelAccount
