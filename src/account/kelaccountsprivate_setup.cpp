// SPDX-License-Identifier: LGPL-2.1-or-later
// Setting the device account up: what AccountSetUp has this object do, and what it is told.
#include "account/accountsetup.h"
#include "account/kelaccountsprivate.h"
#include "account/records/registrationconversion.h"
#include "account/tostatus.h"
#include "common/logging.h"
#include "configure/kelconfigure.h"
#include "device/deviceinfoutil.h"
#include "signon/kelauthsessioninterface.h"

#include <SignOn/SessionData>

#include <kelaccount/registrationinfo.h>

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

} // namespace

class KelAccountsPrivate::Steps : public SetUpSteps
{
public:
    explicit Steps(KelAccountsPrivate& d) : m(d) {}

    bool store(const QString& name, const QString& password) override
    {
        return m.mKelConfigure->storeUserCredentials(name, password) == 0;
    }
    bool openSession(quint32 credentialsId) override { return m.createSession(credentialsId); }
    void askPlugin(int kind) override
    {
        kind == AccountSetUp::SignIn ? m.signIn() : m.registerAccount();
    }
    bool hasAccount() override { return m.mKelConfigure->isKelAccountPresent(); }
    bool createAccount(const SignOn::SessionData& data) override
    {
        return m.configureAccountOnFramework(data) == 0;
    }
    void reportDevice() override
    {
        if (DeviceInfoUtil().simStatus())
            m.mAuthSessionInterface->updateDeviceInfo();
    }
    void takeBack(quint32 credentialsId, const std::function<void()>& next) override
    {
        if (next)
            m.mAuthSessionInterface->destroyActiveAuthSession();
        else // The daemon would store them anew with an answer that comes when they are gone.
            m.mAuthSessionInterface->cancelActiveRequest();
        m.mKelConfigure->removeIdentity(credentialsId, next);
    }
    void answer(int kind, int status, const QVariantMap& result, bool later) override
    {
        m.mRegistrationInfoData = {}; // its password is not kept longer than it is needed
        const bool signIn = kind == AccountSetUp::SignIn;
        if (later)
            m.deferError(signIn ? ResponseSignInAndConfigure : ResponseRegisterAccount,
                         toStatus(status));
        else if (signIn)
            Q_EMIT m.signInAndConfigureResponse(toStatus(status), result);
        else
            Q_EMIT m.registerAccountResponse(toStatus(status), result);
    }

private:
    KelAccountsPrivate& m;
};

void KelAccountsPrivate::createSetUp()
{
    mSetUp = new AccountSetUp(std::make_unique<Steps>(*this), this);
}

KelAccountsPrivate::~KelAccountsPrivate()
{
    mSetUp->handle(SetUp::Event::Abandoned);
}

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
    if (!isSetUpRefused(ResponseSignInAndConfigure, !userName.isEmpty() && !password.isEmpty()))
        mSetUp->begin(AccountSetUp::SignIn, userName, password, configureOnDb);
}

void KelAccountsPrivate::registerAccount(const RegistrationInfo& info, bool configureOnDb)
{
    if (isSetUpRefused(ResponseRegisterAccount, isComplete(info)))
        return;
    mObcMgrWrapper.loadServiceTag(mServiceTag, ServiceTagOperation::registration);
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
    mSetUp->handle(SetUp::Event::NotStored);
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
    error == ErrorNone ? mSetUp->succeeded(data) : mSetUp->handle(SetUp::Event::Failed, error);
}

void KelAccountsPrivate::processregisterAccountResponse(int error, const SignOn::SessionData& data)
{
    processSignInCompleted(error, data);
}

void KelAccountsPrivate::processAccountStoringStatusUpdate(bool stored)
{
    mSetUp->handle(stored ? SetUp::Event::AccountStored : SetUp::Event::AccountFailed,
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
