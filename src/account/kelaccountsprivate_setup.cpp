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
    else
        deferError(ResponseRegisterAccount, ErrorInvalidParameter);
}

void KelAccountsPrivate::updateRegisterInfoData(const RegistrationInfo& info,
                                                RegistrationInfoData* data) const
{
    *data = toRegistrationInfoData(info, mCaptchaId, mServiceTag);
}

void KelAccountsPrivate::storeCredentials(ResponseType type, const QString& name,
                                          const QString& password, const char* failure)
{
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

bool KelAccountsPrivate::openSessionForSetUp(ResponseType type)
{
    const QPointer<KelAccountsPrivate> alive(this);
    const bool open = openSession(type);
    if (alive && !open)
        rollBackSetUp();
    return open;
}

void KelAccountsPrivate::signIn()
{
    if (openSessionForSetUp(ResponseSignInAndConfigure))
        mAuthSessionInterface->signIn();
}

void KelAccountsPrivate::registerAccount()
{
    if (openSessionForSetUp(ResponseRegisterAccount))
        mAuthSessionInterface->registerAccount(&mRegistrationInfoData);
}

void KelAccountsPrivate::processSignInCompleted(int error, const SignOn::SessionData& data)
{
    finishSetUp(ResponseSignInAndConfigure, error, data,
                "Signin was successful.. but failed to configure the account on device");
}

void KelAccountsPrivate::processregisterAccountResponse(int error, const SignOn::SessionData& data)
{
    finishSetUp(ResponseRegisterAccount, error, data,
                "Registration was successful.. but failed to configure the account on device");
}

void KelAccountsPrivate::finishSetUp(ResponseType type, int error, const SignOn::SessionData& data,
                                     const char* failure)
{
    const auto answer = type == ResponseSignInAndConfigure
                            ? &KelAccountsPrivate::signInAndConfigureResponse
                            : &KelAccountsPrivate::registerAccountResponse;
    if (error != ErrorNone) {
        rollBackSetUp();
        Q_EMIT(this->*answer)(toStatus(error), QVariantMap());
        return;
    }
    if (configureAccountOnFramework(data) != 0) {
        qCCritical(logAccount, "%s", failure);
        rollBackSetUp();
        deferError(type, ErrorFailedToConfigureAccount);
        return;
    }
    const QVariantMap result = resultOf(data);
    if (DeviceInfoUtil().simStatus())
        mAuthSessionInterface->updateDeviceInfo();
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

void KelAccountsPrivate::rollBackSetUp()
{
    mAuthSessionInterface->destroyActiveAuthSession();
    mKelConfigure->removeIdentity(mCredentialId);
    // The next session is not to be opened on what was just removed.
    mCredentialId = 0;
    endSetUp();
}

void KelAccountsPrivate::endSetUp()
{
    mPendingConfigRequest = NoSetUp;
    // The password is not kept longer than it is needed.
    mRegistrationInfoData = RegistrationInfoData();
}

} // namespace KelAccount
