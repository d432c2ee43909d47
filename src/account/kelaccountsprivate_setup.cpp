// SPDX-License-Identifier: LGPL-2.1-or-later
// Setting the device account up: what AccountSetUp has this object do, and what it is told.
#include "account/accountsetup.h"
#include "account/kelaccountsprivate.h"
#include "account/records/registrationconversion.h"
#include "common/logging.h"
#include "configure/kelconfigure.h"
#include "signon/kelauthsessioninterface.h"

#include <SignOn/SessionData>

#include <kelaccount/registrationinfo.h>

using namespace KelRestHandler;

namespace KelAccount {

KelAccountsPrivate::~KelAccountsPrivate()
{
    mSetUp->handle(SetUpStates::Event::Abandoned);
}

bool KelAccountsPrivate::isSetUpRefused(Call call, bool argumentsAreGood)
{
    if (isSessionRefused(call))
        return true;
    if (mKelConfigure->isKelAccountPresent()) {
        deferError(call, ErrorAccountAlreadyPresent);
        return true;
    }
    if (!argumentsAreGood) {
        deferError(call, ErrorInvalidParameter);
        return true;
    }
    return false;
}

void KelAccountsPrivate::signInAndConfigure(const QString& userName, const QString& password,
                                            bool configureOnDb)
{
    const Call call = newCall(ResponseSignInAndConfigure);
    if (isSetUpRefused(call, !userName.isEmpty() && !password.isEmpty()))
        return;
    mSetUpCall = call.id;
    mSetUp->begin(AccountSetUp::SignIn, userName, password, configureOnDb);
}

void KelAccountsPrivate::registerAccount(const RegistrationInfo& info, bool configureOnDb)
{
    const Call call = newCall(ResponseRegisterAccount);
    if (isSetUpRefused(call, isComplete(info)))
        return;
    mSetUpCall = call.id;
    if (!loadServiceTag(call, ServiceTagOperation::registration))
        return;
    updateRegisterInfoData(info, &mRegistrationInfoData);
    mSetUp->begin(AccountSetUp::Registration, signInName(info), info.password(), configureOnDb);
}

void KelAccountsPrivate::registerAccount(QObject* info, bool configureOnDb)
{
    if (const auto* const record = qobject_cast<RegistrationInfo*>(info))
        registerAccount(*record, configureOnDb);
    else // as incomplete as a record can be, and so refused in its turn
        registerAccount(RegistrationInfo(), configureOnDb);
}

void KelAccountsPrivate::updateRegisterInfoData(const RegistrationInfo& info,
                                                RegistrationInfoData* data) const
{
    *data = toRegistrationInfoData(info, mCaptchaId, mServiceTag);
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

void KelAccountsPrivate::processErrorDuringStoreCredentials()
{
    mSetUp->handle(SetUpStates::Event::NotStored);
}

void KelAccountsPrivate::signIn()
{
    mAuthSessionInterface->signIn();
}

void KelAccountsPrivate::registerAccount()
{
    mAuthSessionInterface->registerAccount(&mRegistrationInfoData);
}

void KelAccountsPrivate::processSignInCompleted(int error, const SignOn::SessionData& data)
{
    error == ErrorNone ? mSetUp->succeeded(data)
                       : mSetUp->handle(SetUpStates::Event::Failed, error);
}

void KelAccountsPrivate::processregisterAccountResponse(int error, const SignOn::SessionData& data)
{
    processSignInCompleted(error, data);
}

void KelAccountsPrivate::processAccountStoringStatusUpdate(bool stored)
{
    mSetUp->handle(stored ? SetUpStates::Event::AccountStored : SetUpStates::Event::AccountFailed,
                   stored ? ErrorNone : ErrorFailedToConfigureAccount);
}

int KelAccountsPrivate::configureAccountOnFramework(const SignOn::SessionData& data)
{
    if (!mSetUp->wantsAccount())
        return 0;
    QString name = data.getProperty(QStringLiteral("UserId")).toString();
    if (name.isEmpty())
        name = data.getProperty(QStringLiteral("LoginId")).toString();
    return mKelConfigure->configureAccount(name, mSetUp->credentialsId());
}

} // namespace KelAccount
