// SPDX-License-Identifier: LGPL-2.1-or-later
// Setting the device account up and signing out: what becomes of the calls, and what the two are
// told.
#include "account/accountsignout.h"
#include "account/kelaccountsprivate.h"
#include "account/records/registrationconversion.h"
#include "account/setupsteps.h"
#include "common/logging.h"

#include <memory>
#include <utility>

using namespace KelRestHandler;

namespace KelAccount {

namespace {

// The daemon hands the plugin a request of up to 4 kB together with the stored password and what
// the plugin keeps. With a longer one no operation of the account would reach the plugin.
bool isPassword(const QString& text)
{
    constexpr int mostCharacters = 1500;
    return !text.isEmpty() && text.size() <= mostCharacters;
}

} // namespace

void KelAccountsPrivate::createSetUpAndSignOut()
{
    auto steps = std::make_unique<DeviceSetUpSteps>(
        *mKelConfigure, *mAuthSessionInterface, mRegistrationInfoData, mPlugin,
        [this](OpenCall call, int status, const QVariantMap& result, bool later) {
            if (later) {
                deferError(call, toStatus(status));
                return true;
            }
            return give({call.id, status},
                        call.type == ResponseSignInAndConfigure ? &Self::signInAndConfigureResponse
                                                                : &Self::registerAccountResponse,
                        result);
        });
    mSetUp = new AccountSetUp(std::move(steps), this);
    mSignOut = new AccountSignOut(*mKelConfigure, *mAuthSessionInterface, *mSetUp, mPlugin, this);
    connect(mSignOut, &AccountSignOut::finished, this, [this](CallId call, int status) {
        give({call, status}, &Self::signOutResponse);
    });
}

void KelAccountsPrivate::signInAndConfigure(const QString& userName, const QString& password,
                                            bool configureOnDb)
{
    const OpenCall call = newCall(ResponseSignInAndConfigure);
    if (!isRefused(call, setUpRefusal(!userName.isEmpty() && isPassword(password))))
        mSetUp->begin(call, AccountSetUp::SignIn, userName, password, configureOnDb);
}

void KelAccountsPrivate::registerAccount(const RegistrationInfo& info, bool configureOnDb)
{
    const OpenCall call = newCall(ResponseRegisterAccount);
    if (isRefused(call, setUpRefusal(isComplete(info) && isPassword(info.password()))) ||
        !mService.loadServiceTag(call, ServiceTagOperation::registration))
        return;
    updateRegisterInfoData(info, &mRegistrationInfoData);
    mSetUp->begin(call, AccountSetUp::Registration, signInName(info), info.password(),
                  configureOnDb);
}

void KelAccountsPrivate::registerAccount(QObject* info, bool configureOnDb)
{
    // Without a record it is as incomplete as one can be, and so refused in its turn.
    const auto* const record = qobject_cast<RegistrationInfo*>(info);
    registerAccount(record ? *record : RegistrationInfo(), configureOnDb);
}

void KelAccountsPrivate::updateRegisterInfoData(const RegistrationInfo& info,
                                                RegistrationInfoData* data) const
{
    *data = toRegistrationInfoData(info, mCaptchaId, mService.serviceTag());
}

void KelAccountsPrivate::processCredentialStoringStatusUpdate(bool stored, quint32 credentialId)
{
    if (stored) {
        mSetUp->stored(credentialId);
        return;
    }
    qCCritical(logAccount, "processCredentialStoringStatusUpdate: Failed to store credentials");
    processErrorDuringStoreCredentials();
}

void KelAccountsPrivate::processSignInCompleted(int error, const SignOn::SessionData& data)
{
    error == ErrorNone ? mSetUp->succeeded(data)
                       : mSetUp->handle(SetUpStates::Event::Failed, error);
}

void KelAccountsPrivate::processAccountStoringStatusUpdate(bool stored)
{
    mSetUp->handle(stored ? SetUpStates::Event::AccountStored : SetUpStates::Event::AccountFailed,
                   stored ? ErrorNone : ErrorFailedToConfigureAccount);
}

void KelAccountsPrivate::signOut()
{
    mSignOut->begin(mCalls.make(), sessionRefusal());
}

} // namespace KelAccount
