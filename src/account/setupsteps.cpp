// SPDX-License-Identifier: LGPL-2.1-or-later
// What AccountSetUp has the orchestrator and its parts do.
#include "account/accountsetup.h"
#include "account/kelaccountsprivate.h"
#include "account/tostatus.h"
#include "configure/kelconfigure.h"
#include "device/deviceinfoutil.h"
#include "signon/kelauthsessioninterface.h"

using namespace KelRestHandler;

namespace KelAccount {

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

} // namespace KelAccount
