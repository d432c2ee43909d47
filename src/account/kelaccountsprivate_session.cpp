// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations through the sign-on session.
#include "account/accountsetup.h"
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

bool KelAccountsPrivate::isSessionRefused(ResponseType type)
{
    if (!mInitialized) {
        deferError(type, ErrorInitializationPending);
        return true;
    }
    if (mSetUp->pending() != AccountSetUp::None) {
        deferError(type, ErrorAccountConfigurationInProgress);
        return true;
    }
    return false;
}

bool KelAccountsPrivate::createSession(quint32 credentialsId)
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = mAuthSessionInterface->createAuthSession(
        mConsumerKey, mConsumerSecret, mZorService, mServerIndex, credentialsId);
    // Waiting for the plugin runs the event loop, and an application may do anything there.
    return alive && open;
}

bool KelAccountsPrivate::openSession(ResponseType type)
{
    return openSession(type, mSetUp->sessionCredentials());
}

bool KelAccountsPrivate::openSession(ResponseType type, quint32 credentialsId)
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = createSession(credentialsId);
    if (alive && !open)
        deferError(type, ErrorFailedToEstablishZorAuthSession);
    return open;
}

void KelAccountsPrivate::downloadProfile()
{
    if (!isSessionRefused(ResponseDownloadProfile) && openSession(ResponseDownloadProfile))
        mAuthSessionInterface->downloadProfile();
}

void KelAccountsPrivate::updateSecurityQuestion(const QString& question, const QString& answer)
{
    if (!isSessionRefused(ResponseUpdateSecurityQuestion) &&
        openSession(ResponseUpdateSecurityQuestion))
        mAuthSessionInterface->setSecurityQuestion(question, answer);
}

void KelAccountsPrivate::changePassword(const QString& oldPassword, const QString& newPassword)
{
    if (isSessionRefused(ResponseChangePassword))
        return;
    if (oldPassword.isEmpty() || newPassword.isEmpty()) {
        deferError(ResponseChangePassword, ErrorInvalidParameter);
        return;
    }
    if (openSession(ResponseChangePassword))
        mAuthSessionInterface->changePassword(oldPassword, newPassword);
}

void KelAccountsPrivate::userIdUpdate(const QString& userId)
{
    if (isSessionRefused(ResponseUserIdUpdate))
        return;
    if (userId.isEmpty()) {
        deferError(ResponseUserIdUpdate, ErrorInvalidParameter);
        return;
    }
    if (openSession(ResponseUserIdUpdate))
        mAuthSessionInterface->userIdUpdate(userId);
}

void KelAccountsPrivate::ensureTokenAvailable(unsigned int credentialsId)
{
    if (isSessionRefused(ResponseEnsureTokenAvailable))
        return;
    if (credentialsId == 0)
        credentialsId = mSetUp->sessionCredentials();
    else if (!mSetUp->hasReturned(credentialsId) &&
             credentialsId != mAuthSessionInterface->retrieveActiveAccountCredId()) {
        deferError(ResponseEnsureTokenAvailable, ErrorInvalidParameter);
        return;
    }
    if (openSession(ResponseEnsureTokenAvailable, credentialsId))
        mAuthSessionInterface->ensureToken();
}

void KelAccountsPrivate::close()
{
    mAuthSessionInterface->close();
}

void KelAccountsPrivate::processdownloadProfileCompleted(int error, const SignOn::SessionData& data)
{
    auto* const profile = new (std::nothrow) ProfileInfo(this);
    if (!profile) {
        qCCritical(logAccount, "Unexpected error.. profileData object creation failed");
        Q_EMIT downloadProfileResponse(ErrorUnknown, nullptr);
        return;
    }
    if (error == ErrorNone)
        fillProfile(profile, data.data<ZorAuthSessionPrivateData>().DownloadedProfile());
    Q_EMIT downloadProfileResponse(toStatus(error), profile);
}

void KelAccountsPrivate::processSetSecurityQuestionCompleted(int error)
{
    Q_EMIT updateSecurityQuestionResponse(toStatus(error));
}

void KelAccountsPrivate::processChangePasswordCompleted(int error)
{
    Q_EMIT changePasswordResponse(toStatus(error));
}

void KelAccountsPrivate::processUserIdUpdateCompleted(int error)
{
    Q_EMIT userIdUpdateResponse(toStatus(error));
}

// Sent along with a set-up, which does not depend on it.
void KelAccountsPrivate::processUpdateDeviceInfoResponse(int /*error*/)
{
}

void KelAccountsPrivate::processensureTokenResponse(int error)
{
    Q_EMIT ensureTokenAvailableResponse(toStatus(error));
}

void KelAccountsPrivate::processCloseResponse(int error)
{
    Q_EMIT closeResponse(toStatus(error));
}

} // namespace KelAccount
