// SPDX-License-Identifier: LGPL-2.1-or-later
// Setting the device account up: store the credentials, open a session on them, sign in or register
// through the plugin, create the account. A step that fails takes the ones before it back.
#include "account/kelaccountsprivate.h"
#include "account/records/registrationconversion.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "configure/kelconfigure.h"
#include "device/deviceinfoutil.h"
#include "signon/kelauthsessioninterface.h"

#include <SignOn/SessionData>

#include <kelaccount/registrationinfo.h>

#include <QPointer>

#include <utility>

using namespace KelRestHandler;

namespace KelAccount {

namespace {

// The name to sign in with: the e-mail address, or else the user name.
QString signInName(const RegistrationInfo& info)
{
    return info.emailAddress().isEmpty() ? info.userName() : info.emailAddress();
}

// A user name alone does not reach anybody: it needs a mobile number beside it.
bool isComplete(const RegistrationInfo& info)
{
    const bool reachable = !info.emailAddress().isEmpty() || !info.mobilePhoneNumber().isEmpty();
    return reachable && !signInName(info).isEmpty() && !info.password().isEmpty();
}

QVariant valueOf(const SignOn::SessionData& data, const char* key)
{
    return data.getProperty(QString::fromLatin1(key));
}

} // namespace

bool KelAccountsPrivate::isSetUpRefused(ResponseType type, bool argumentsAreGood)
{
    if (isSessionRefused(type))
        return true;
    if (mKelConfigure->isKelAccountPresent()) {
        deferError(type, ErrorAccountAlreadyPresent);
        return true;
    }
    if (!argumentsAreGood) {
        deferError(type, ErrorInvalidParameter);
        return true;
    }
    return false;
}

void KelAccountsPrivate::signInAndConfigure(const QString& userName, const QString& password,
                                            bool configureOnDb)
{
    if (isSetUpRefused(ResponseSignInAndConfigure, !userName.isEmpty() && !password.isEmpty()))
        return;
    mConfigureOnDb = configureOnDb;
    mPendingConfigRequest = SignInSetUp;
    storeCredentials(ResponseSignInAndConfigure, userName, password,
                     "Failed to store credentials during signInAndConfigure");
}

void KelAccountsPrivate::registerAccount(const RegistrationInfo& info, bool configureOnDb)
{
    if (isSetUpRefused(ResponseRegisterAccount, isComplete(info)))
        return;
    mConfigureOnDb = configureOnDb;
    mPendingConfigRequest = RegistrationSetUp;
    mObcMgrWrapper.loadServiceTag(mServiceTag, ServiceTagOperation::registration);
    updateRegisterInfoData(info, &mRegistrationInfoData);
    storeCredentials(ResponseRegisterAccount, signInName(info), info.password(),
                     "Failed to store credentials during registration");
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

void KelAccountsPrivate::storeCredentials(ResponseType type, const QString& name,
                                          const QString& password, const char* failure)
{
    mCredentialId = 0; // of a set-up before, whose account is gone
    if (mKelConfigure->storeUserCredentials(name, password) == 0)
        return;
    qCCritical(logAccount, "%s", failure);
    endSetUp();
    deferError(type, ErrorStoreCredentialsFailed);
}

void KelAccountsPrivate::processCredentialStoringStatusUpdate(bool stored, quint32 credentialId)
{
    if (!stored) {
        qCCritical(logAccount, "processCredentialStoringStatusUpdate: Failed to store credentials");
        processErrorDuringStoreCredentials();
        return;
    }
    mCredentialId = credentialId;
    switch (mPendingConfigRequest) {
    case SignInSetUp:
        signIn();
        return;
    case RegistrationSetUp:
        registerAccount();
        return;
    default:
        qCCritical(logAccount, "Error... Unknown request type");
    }
}

void KelAccountsPrivate::processErrorDuringStoreCredentials()
{
    const QPointer<KelAccountsPrivate> alive(this);
    switch (mPendingConfigRequest) {
    case SignInSetUp:
        Q_EMIT signInAndConfigureResponse(ErrorStoreCredentialsFailed, QVariantMap());
        break;
    case RegistrationSetUp:
        Q_EMIT registerAccountResponse(ErrorStoreCredentialsFailed, QVariantMap());
        break;
    default:
        qCCritical(logAccount, "Error... Unknown request type");
    }
    if (alive)
        endSetUp();
}

bool KelAccountsPrivate::openSessionForSetUp()
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = createSession();
    if (alive && !open)
        rollBackSetUp(ErrorFailedToEstablishZorAuthSession);
    return open;
}

void KelAccountsPrivate::signIn()
{
    if (openSessionForSetUp())
        mAuthSessionInterface->signIn();
}

void KelAccountsPrivate::registerAccount()
{
    if (openSessionForSetUp())
        mAuthSessionInterface->registerAccount(&mRegistrationInfoData);
}

void KelAccountsPrivate::processSignInCompleted(int error, const SignOn::SessionData& data)
{
    finishSetUp(error, data);
}

void KelAccountsPrivate::processregisterAccountResponse(int error, const SignOn::SessionData& data)
{
    finishSetUp(error, data);
}

void KelAccountsPrivate::finishSetUp(int error, const SignOn::SessionData& data)
{
    if (error != ErrorNone) {
        rollBackSetUp(error);
        return;
    }
    mSetUpResult = resultOf(data);
    if (configureAccountOnFramework(data) != 0)
        failToConfigureAccount();
    else if (!mConfigureOnDb)
        completeSetUp();
    // Otherwise the accounts database still has to take the account.
}

void KelAccountsPrivate::processAccountStoringStatusUpdate(bool stored)
{
    if (stored)
        completeSetUp();
    else
        failToConfigureAccount();
}

void KelAccountsPrivate::failToConfigureAccount()
{
    qCCritical(logAccount, "%s",
               mPendingConfigRequest == SignInSetUp
                   ? "Signin was successful.. but failed to configure the account on device"
                   : "Registration was successful.. but failed to configure the account on device");
    rollBackSetUp(ErrorFailedToConfigureAccount);
}

void KelAccountsPrivate::completeSetUp()
{
    if (DeviceInfoUtil().simStatus())
        mAuthSessionInterface->updateDeviceInfo();
    const QVariantMap result = mSetUpResult;
    const auto answer = mPendingConfigRequest == SignInSetUp
                            ? &KelAccountsPrivate::signInAndConfigureResponse
                            : &KelAccountsPrivate::registerAccountResponse;
    endSetUp();
    Q_EMIT(this->*answer)(ErrorNone, result);
}

int KelAccountsPrivate::configureAccountOnFramework(const SignOn::SessionData& data)
{
    if (!mConfigureOnDb)
        return 0;
    QString name = valueOf(data, "UserId").toString();
    if (name.isEmpty())
        name = valueOf(data, "LoginId").toString();
    return mKelConfigure->configureAccount(name, mCredentialId);
}

QVariantMap KelAccountsPrivate::resultOf(const SignOn::SessionData& data) const
{
    return {
        {QStringLiteral("IdentityId"), mCredentialId},
        {QStringLiteral("AccountId"), valueOf(data, "KelAccountId")},
        {QStringLiteral("LoginId"), valueOf(data, "LoginId")},
        {QStringLiteral("UserId"), valueOf(data, "UserId")},
        {QStringLiteral("EmailAddress"), valueOf(data, "EmailAddress")},
    };
}

void KelAccountsPrivate::rollBackSetUp(int error)
{
    const auto type =
        mPendingConfigRequest == SignInSetUp ? ResponseSignInAndConfigure : ResponseRegisterAccount;
    mAuthSessionInterface->destroyActiveAuthSession();
    // The next session is not to be opened on what is being removed. An application may end with
    // the answer, so that comes last.
    mKelConfigure->removeIdentity(std::exchange(mCredentialId, 0), [this, type, error] {
        endSetUp();
        sendErrorResponse(type, error);
    });
}

void KelAccountsPrivate::abandonSetUp()
{
    // An account that the accounts database already has needs its credentials.
    if (mPendingConfigRequest == NoSetUp || mCredentialId == 0 || !mSetUpResult.isEmpty())
        return;
    // The daemon would store them anew with an answer that comes when they are gone.
    mAuthSessionInterface->cancelActiveRequest();
    mKelConfigure->removeIdentity(mCredentialId);
}

void KelAccountsPrivate::endSetUp()
{
    mPendingConfigRequest = NoSetUp;
    mSetUpResult.clear();
    // The password is not kept longer than it is needed.
    mRegistrationInfoData = RegistrationInfoData();
}

} // namespace KelAccount
