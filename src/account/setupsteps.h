// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/accountsetup.h"
#include "rest/records/registrationinfodata.h"

#include <functional>

namespace KelAccount {

class KelAuthSessionInterface;
class KelConfigure;
class SessionRoad;

/// A set-up's steps on this device: by the store of credentials, the plugin and the accounts.
class DeviceSetUpSteps : public SetUpSteps
{
public:
    /// As SetUpSteps::answer() says.
    using GiveAnswer =
        std::function<bool(OpenCall call, int status, const QVariantMap& result, bool later)>;

    /// All of these outlive this object. The registration is forgotten with the answer.
    DeviceSetUpSteps(KelConfigure& configure, KelAuthSessionInterface& session,
                     KelRestHandler::RegistrationInfoData& registration, SessionRoad& sessions,
                     GiveAnswer giveAnswer);

    bool store(const QString& name, const QString& password) override;
    bool openSession(quint32 credentialsId) override;
    void askPlugin(int kind) override;
    bool hasAccount() override;
    bool createAccount(quint32 credentialsId, const SignOn::SessionData& data) override;
    void reportDevice() override;
    void takeBack(quint32 credentialsId, const std::function<void()>& next) override;
    void takeAllBack(quint32 credentialsId, const std::function<void()>& next) override;
    bool answer(OpenCall call, int status, const QVariantMap& result, bool later) override;

private:
    void signIn();
    void registerAccount();
    int configureAccountOnFramework(quint32 credentialsId, const SignOn::SessionData& data);

    KelConfigure& mConfigure;
    KelAuthSessionInterface& mSession;
    KelRestHandler::RegistrationInfoData& mRegistration;
    SessionRoad& mSessions;
    GiveAnswer mGiveAnswer;
};

} // namespace KelAccount
