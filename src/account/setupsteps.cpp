// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/setupsteps.h"

#include "account/sessionroad.h"
#include "configure/kelconfigure.h"
#include "device/deviceinfoutil.h"
#include "signon/kelauthsessioninterface.h"

#include <memory>
#include <utility>

using namespace KelRestHandler;

namespace KelAccount {

DeviceSetUpSteps::DeviceSetUpSteps(KelConfigure& configure, KelAuthSessionInterface& session,
                                   RegistrationInfoData& registration, SessionRoad& sessions,
                                   GiveAnswer giveAnswer)
    : mConfigure(configure), mSession(session), mRegistration(registration), mSessions(sessions),
      mGiveAnswer(std::move(giveAnswer))
{
}

bool DeviceSetUpSteps::store(const QString& name, const QString& password)
{
    return mConfigure.storeUserCredentials(name, password) == 0;
}

bool DeviceSetUpSteps::openSession(quint32 credentialsId)
{
    mSession.openConnectionNext();
    return mSessions.open(credentialsId);
}

void DeviceSetUpSteps::askPlugin(int kind)
{
    mSession.setCaller(0); // the machine knows its call
    kind == AccountSetUp::SignIn ? signIn() : registerAccount();
}

void DeviceSetUpSteps::signIn()
{
    mSession.signIn();
}

void DeviceSetUpSteps::registerAccount()
{
    mSession.registerAccount(&mRegistration);
}

bool DeviceSetUpSteps::hasAccount()
{
    return mConfigure.isKelAccountPresent();
}

bool DeviceSetUpSteps::createAccount(quint32 credentialsId, const SignOn::SessionData& data)
{
    return configureAccountOnFramework(credentialsId, data) == 0;
}

int DeviceSetUpSteps::configureAccountOnFramework(quint32 credentialsId,
                                                  const SignOn::SessionData& data)
{
    QString name = data.getProperty(QStringLiteral("UserId")).toString();
    if (name.isEmpty())
        name = data.getProperty(QStringLiteral("LoginId")).toString();
    return mConfigure.configureAccount(name, credentialsId);
}

void DeviceSetUpSteps::reportDevice()
{
    if (!DeviceInfoUtil().simStatus())
        return;
    mSession.setCaller(0); // nobody waits for that answer
    mSession.updateDeviceInfo();
}

void DeviceSetUpSteps::takeBack(quint32 credentialsId, const std::function<void()>& next)
{
    // The daemon would store them anew with an answer that comes when they are gone.
    mSession.cancelActiveRequest();
    if (next)
        mSession.destroyActiveAuthSession();
    mConfigure.removeIdentity(credentialsId, next);
}

void DeviceSetUpSteps::takeAllBack(quint32 credentialsId, const std::function<void()>& next)
{
    if (!next) {
        takeBack(credentialsId, nullptr);
        mConfigure.removeAccount(credentialsId, nullptr);
        return;
    }
    const auto left = std::make_shared<int>(2);
    const auto oneDone = [left, next] {
        if (--*left == 0)
            next();
    };
    takeBack(credentialsId, oneDone);
    mConfigure.removeAccount(credentialsId, oneDone);
}

bool DeviceSetUpSteps::answer(OpenCall call, int status, const QVariantMap& result, bool later)
{
    mRegistration = {}; // its password is not kept longer than it is needed
    return mGiveAnswer(call, status, result, later);
}

} // namespace KelAccount
