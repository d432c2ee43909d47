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
    explicit Steps(KelAccountsPrivate& d) : mD(d) {}

    bool store(const QString& name, const QString& password) override
    {
        return mD.mKelConfigure->storeUserCredentials(name, password) == 0;
    }
    bool openSession(quint32 credentialsId) override { return mD.createSession(credentialsId); }
    void askPlugin(int kind) override
    {
        mD.mAuthSessionInterface->setCaller(0); // the machine knows its call
        kind == AccountSetUp::SignIn ? mD.signIn() : mD.registerAccount();
    }
    bool hasAccount() override { return mD.mKelConfigure->isKelAccountPresent(); }
    bool createAccount(const SignOn::SessionData& data) override
    {
        return mD.configureAccountOnFramework(data) == 0;
    }
    void reportDevice() override
    {
        if (!DeviceInfoUtil().simStatus())
            return;
        mD.mAuthSessionInterface->setCaller(0); // nobody waits for that answer
        mD.mAuthSessionInterface->updateDeviceInfo();
    }
    void takeBack(quint32 credentialsId, const std::function<void()>& next) override
    {
        // The daemon would store them anew with an answer that comes when they are gone.
        mD.mAuthSessionInterface->cancelActiveRequest();
        if (next)
            mD.mAuthSessionInterface->destroyActiveAuthSession();
        mD.mKelConfigure->removeIdentity(credentialsId, next);
    }
    void takeAllBack(quint32 credentialsId, const std::function<void()>& next) override
    {
        if (!next) {
            takeBack(credentialsId, nullptr);
            mD.mKelConfigure->removeAccount(credentialsId, nullptr);
            return;
        }
        const auto left = std::make_shared<int>(2);
        const auto oneDone = [left, next] {
            if (--*left == 0)
                next();
        };
        takeBack(credentialsId, oneDone);
        mD.mKelConfigure->removeAccount(credentialsId, oneDone);
    }
    bool answer(int kind, int status, const QVariantMap& result, bool later) override
    {
        mD.mRegistrationInfoData = {}; // its password is not kept longer than it is needed
        const Call call{kind == AccountSetUp::SignIn ? ResponseSignInAndConfigure
                                                     : ResponseRegisterAccount,
                        mD.mSetUpCall};
        if (later) {
            mD.deferError(call, toStatus(status));
            return true;
        }
        AnswerDetails details;
        details.status = status;
        return mD.answer(call.id, details, [&] {
            if (kind == AccountSetUp::SignIn)
                Q_EMIT mD.signInAndConfigureResponse(toStatus(status), result);
            else
                Q_EMIT mD.registerAccountResponse(toStatus(status), result);
        });
    }

private:
    KelAccountsPrivate& mD;
};

void KelAccountsPrivate::createSetUp()
{
    mSetUp = new AccountSetUp(std::make_unique<Steps>(*this), this);
}

} // namespace KelAccount
