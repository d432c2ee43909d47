// SPDX-License-Identifier: LGPL-2.1-or-later
// The operations through the sign-on session, and what is told of its answers.
#include "account/accountsignout.h"
#include "account/kelaccountsprivate.h"
#include "account/records/profileconversion.h"
#include "common/logging.h"
#include "configure/kelconfigure.h"
#include "signon/zorauthsessionprivatedata.h"

#include <kelaccount/profileinfo.h>

#include <new>

using ZorKeLSignOn::ZorAuthSessionPrivateData;

namespace KelAccount {

void KelAccountsPrivate::connectSession()
{
    const Session* const session = mAuthSessionInterface;
    connect(session, &Session::signInResponse, this, &Self::processSignInCompleted);
    connect(session, &Session::downloadProfileResponse, this,
            &Self::processdownloadProfileCompleted);
    connect(session, &Session::setSecurityQuestionResponse, this,
            &Self::processSetSecurityQuestionCompleted);
    connect(session, &Session::registerationCompleted, this, &Self::processregisterAccountResponse);
    connect(session, &Session::changePasswordResponse, this, &Self::processChangePasswordCompleted);
    connect(session, &Session::userIdUpdateResponse, this, &Self::processUserIdUpdateCompleted);
    connect(session, &Session::updateDeviceInfoResponse, this,
            &Self::processUpdateDeviceInfoResponse);
    connect(session, &Session::ensureTokenResponse, this, &Self::processensureTokenResponse);
    connect(session, &Session::closeResponse, this, &Self::processCloseResponse);
    connect(mKelConfigure, &KelConfigure::storeUserCredentialsStatus, this,
            &Self::processCredentialStoringStatusUpdate);
    connect(mKelConfigure, &KelConfigure::configureAccountStatus, this,
            &Self::processAccountStoringStatusUpdate);
}

ErrorStatus KelAccountsPrivate::sessionRefusal(bool argumentsAreGood) const
{
    if (!mSettings.areGiven())
        return ErrorInitializationPending;
    if (mSetUp->pending() != AccountSetUp::None || mSignOut->isUnderWay())
        return ErrorAccountConfigurationInProgress;
    return argumentsAreGood ? ErrorNone : ErrorInvalidParameter;
}

ErrorStatus KelAccountsPrivate::setUpRefusal(bool argumentsAreGood) const
{
    const ErrorStatus refusal = sessionRefusal();
    if (refusal == ErrorNone && mKelConfigure->isKelAccountPresent())
        return ErrorAccountAlreadyPresent;
    return refusal == ErrorNone && !argumentsAreGood ? ErrorInvalidParameter : refusal;
}

void KelAccountsPrivate::downloadProfile()
{
    askPlugin(newCall(ResponseDownloadProfile), true, &Session::downloadProfile);
}

void KelAccountsPrivate::updateSecurityQuestion(const QString& question, const QString& answer)
{
    askPlugin(newCall(ResponseUpdateSecurityQuestion), true, &Session::setSecurityQuestion,
              question, answer);
}

void KelAccountsPrivate::changePassword(const QString& oldPassword, const QString& newPassword)
{
    askPlugin(newCall(ResponseChangePassword), !oldPassword.isEmpty() && !newPassword.isEmpty(),
              &Session::changePassword, oldPassword, newPassword);
}

void KelAccountsPrivate::userIdUpdate(const QString& userId)
{
    askPlugin(newCall(ResponseUserIdUpdate), !userId.isEmpty(), &Session::userIdUpdate, userId);
}

void KelAccountsPrivate::ensureTokenAvailable(unsigned int credentialsId)
{
    const OpenCall call = newCall(ResponseEnsureTokenAvailable);
    // Whose they are stands in the accounts database, which only a call that may go on looks into.
    const auto isOurs = [&] {
        return credentialsId == 0 || mSetUp->hasReturned(credentialsId) ||
               credentialsId == mAuthSessionInterface->retrieveActiveAccountCredId();
    };
    if (!isRefused(call, sessionRefusal()) &&
        !isRefused(call, isOurs() ? ErrorNone : ErrorInvalidParameter))
        mPlugin.ask(call, credentialsId ? credentialsId : mSetUp->sessionCredentials(),
                    &Session::ensureToken);
}

void KelAccountsPrivate::close()
{
    mAuthSessionInterface->setCaller(mCalls.make());
    mAuthSessionInterface->close();
}

void KelAccountsPrivate::processdownloadProfileCompleted(int error, const SignOn::SessionData& data)
{
    const Answer answer = mPlugin.answer(error);
    mCalls.answer(answer, [&] {
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

} // namespace KelAccount
