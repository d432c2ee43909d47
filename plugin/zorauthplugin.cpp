// SPDX-License-Identifier: LGPL-2.1-or-later
#include "zorauthplugin.h"

#include "job.h"

#include <kelaccount/errorstatus.h>

namespace ZorAuth {

using namespace KelAccount;

namespace {

/// What the daemon logs and the client reads beside the number. Never anything of the request.
QString messageFor(int code)
{
    if (code == SignOn::Error::SessionCanceled)
        return QStringLiteral("The request was cancelled");
    if (code == SignOn::Error::MechanismNotAvailable)
        return QStringLiteral("The plugin does not have this mechanism");
    if (code >= ErrorConnectionRefused && code < ErrorInvalidAccessToken)
        return QStringLiteral("The account service could not be asked");
    if (code >= ErrorInvalidAccessToken && code < ErrorConsumerKeyMissing)
        return QStringLiteral("The account service refused");
    return QStringLiteral("The request cannot be served");
}

} // namespace

ZorAuthPlugin::ZorAuthPlugin() = default;
ZorAuthPlugin::~ZorAuthPlugin() = default;

QString ZorAuthPlugin::type() const
{
    return QStringLiteral("zorauth");
}

QStringList ZorAuthPlugin::mechanisms() const
{
    return Job::mechanisms();
}

void ZorAuthPlugin::process(const SignOn::SessionData& data, const QString& mechanism)
{
    if (mJob)
        return reportError(ErrorAuthSessionBusy);
    mJob = std::make_unique<Job>(data.toMap(), mService, mWrongPasswords, nullptr);
    connect(mJob.get(), &Job::changed, this, [this] { storeChanges(*mJob); });
    connect(mJob.get(), &Job::succeeded, this, [this](const QVariantMap& answer) {
        finishJob();
        Q_EMIT result(SignOn::SessionData(answer));
    });
    connect(mJob.get(), &Job::failed, this, [this](int status) {
        finishJob();
        reportError(status);
    });
    if (!mJob->start(mechanism)) {
        mJob.reset();
        reportError(SignOn::Error::MechanismNotAvailable);
    }
}

void ZorAuthPlugin::cancel()
{
    if (!mJob)
        return;
    dropJob();
    reportError(SignOn::Error::SessionCanceled);
}

void ZorAuthPlugin::abort()
{
    dropJob();
}

/// Ends what is under way without a word: its requests go with the handler that sent them.
void ZorAuthPlugin::dropJob()
{
    mJob.reset();
    mService.drop();
}

/// Takes the job that has just ended and has its changes stored; after the answer the daemon would
/// not take them any more.
void ZorAuthPlugin::finishJob()
{
    // It is still emitting.
    Job* const ended = mJob.release();
    ended->deleteLater();
    storeChanges(*ended);
}

void ZorAuthPlugin::storeChanges(Job& job)
{
    const QVariantMap changes = job.takeChanges();
    if (!changes.isEmpty())
        Q_EMIT store(SignOn::SessionData(changes));
}

void ZorAuthPlugin::reportError(int code)
{
    Q_EMIT error(SignOn::Error(code, messageFor(code)));
}

} // namespace ZorAuth
