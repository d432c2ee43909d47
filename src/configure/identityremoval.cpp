// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/identityremoval.h"

#include "common/logging.h"
#include "common/signondaemon.h"

#include <SignOn/Identity>

namespace KelAccount {

namespace {

constexpr int daemonStartTimeoutMs = 90000;
constexpr int retryMs = 100;
constexpr int startAttempts = 3;

// The daemon forbids access to an identity that it does not have.
bool saysThereIsNone(const SignOn::Error& error)
{
    return error.type() == SignOn::Error::IdentityNotFound ||
           error.type() == SignOn::Error::PermissionDenied;
}

} // namespace

IdentityRemoval::IdentityRemoval(unsigned int credentialsId, int patienceMs)
    : mCredentialsId(credentialsId)
{
    mPatience.setSingleShot(true);
    mPatience.setInterval(patienceMs);
    connect(&mPatience, &QTimer::timeout, this, &IdentityRemoval::endPatience);
    mRetry.setSingleShot(true);
    mRetry.setInterval(retryMs);
    connect(&mRetry, &QTimer::timeout, this, &IdentityRemoval::attempt);
}

void IdentityRemoval::start()
{
    mPatience.start();
    if (reachesSessionBus()) {
        // Its answer would not come.
        whenSignOnDaemonIsLost(this, [this] {
            if (mIdentity)
                attempt();
        });
        attempt();
    } else {
        QMetaObject::invokeMethod(this, &IdentityRemoval::finish, Qt::QueuedConnection);
    }
}

void IdentityRemoval::attempt()
{
    dropIdentity();
    mRetry.stop();
    ensureSignOnDaemon(this, daemonStartTimeoutMs, [this](bool running) {
        if (running)
            removeFromStore();
        else if (++mFailedStarts < startAttempts)
            tryAgain();
        else
            finish();
    });
}

void IdentityRemoval::removeFromStore()
{
    mIdentity = SignOn::Identity::existingIdentity(mCredentialsId);
    if (!mIdentity) {
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        finish();
        return;
    }
    const bool connected =
        connect(mIdentity, &SignOn::Identity::removed, mIdentity, &QObject::deleteLater) &&
        connect(mIdentity, &SignOn::Identity::error, mIdentity, &QObject::deleteLater);
    if (!connected)
        qCWarning(logConfigure, "Failed to connect to deleteLater.. Possibility of memory leak");
    connect(mIdentity, &SignOn::Identity::removed, this, &IdentityRemoval::finish);
    connect(mIdentity, &SignOn::Identity::error, this, &IdentityRemoval::processError);
    mIdentity->remove();
}

void IdentityRemoval::processError(const SignOn::Error& error)
{
    if (saysThereIsNone(error)) {
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        finish();
        return;
    }
    qCWarning(logConfigure, "The stored credentials were not removed: sign-on error %d",
              error.type());
    tryAgain();
}

void IdentityRemoval::tryAgain()
{
    dropIdentity();
    if (mPatience.isActive())
        mRetry.start();
    else
        finish();
}

void IdentityRemoval::dropIdentity()
{
    if (!mIdentity)
        return;
    mIdentity->disconnect();
    mIdentity->deleteLater(); // this may run in a slot of its
    mIdentity.clear();
}

void IdentityRemoval::endPatience()
{
    qCWarning(logConfigure, "The sign-on daemon has not removed the stored credentials yet");
    Q_EMIT ended();
}

void IdentityRemoval::finish()
{
    dropIdentity();
    mRetry.stop();
    deleteLater();
    // Not when the patience had its end before.
    if (!mPatience.isActive())
        return;
    mPatience.stop();
    Q_EMIT ended();
}

} // namespace KelAccount
