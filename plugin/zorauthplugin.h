// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "serviceondemand.h"

#include <SignOn/authpluginif.h>

#include <memory>

namespace ZorAuth {

class Job;

/// The sign-on method "zorauth": signs a user in to the account service and works with the account,
/// for clients that see neither password nor token secret.
///
/// The daemon runs it in a process of its own and sends one request at a time. Each is answered by
/// exactly one of result() and error(); the error's type is the library's ErrorStatus.
class ZorAuthPlugin : public AuthPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(AuthPluginInterface)

public:
    ZorAuthPlugin();
    ~ZorAuthPlugin() override;

    QString type() const override;
    QStringList mechanisms() const override;
    void cancel() override;
    void abort() override;
    void process(const SignOn::SessionData& data, const QString& mechanism) override;

private:
    void finishJob();
    void storeChanges(Job& job);
    void dropJob();
    void reportError(int code);

    ServiceOnDemand mService;
    std::unique_ptr<Job> mJob; // the request under way, or null
    int mWrongPasswords = 0;   // of the identity that this process is for
};

} // namespace ZorAuth
