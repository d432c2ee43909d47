// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/identityremoval.h"

#include "common/logging.h"
#include "common/signondaemon.h"

#include <SignOn/Identity>

namespace KelAccount {

namespace {

constexpr int daemonStartTimeoutMs = 90000;

} // namespace

IdentityRemoval::IdentityRemoval(unsigned int credentialsId, int patienceMs)
    : mCredentialsId(credentialsId)
{
    mPatience.setSingleShot(true);
    mPatience.setInterval(patienceMs);
    connect(&mPatience, &QTimer::timeout, this, &IdentityRemoval::endPatience);
}

void IdentityRemoval::start()
{
    mPatience.start();
    if (reachesSessionBus()) {
        ensureSignOnDaemon(this, daemonStartTimeoutMs,
                           [this](bool running) { removeFromStore(running); });
    } else {
        QMetaObject::invokeMethod(this, &IdentityRemoval::finish, Qt::QueuedConnection);
    }
}

void IdentityRemoval::removeFromStore(bool daemonRuns)
{
    if (!daemonRuns) {
        finish();
        return;
    }
    SignOn::Identity* const identity = SignOn::Identity::existingIdentity(mCredentialsId);
    if (!identity) {
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        finish();
        return;
    }
    const bool connected =
        connect(identity, &SignOn::Identity::removed, identity, &QObject::deleteLater) &&
        connect(identity, &SignOn::Identity::error, identity, &QObject::deleteLater);
    if (!connected)
        qCWarning(logConfigure, "Failed to connect to deleteLater.. Possibility of memory leak");
    connect(identity, &SignOn::Identity::removed, this, &IdentityRemoval::finish);
    connect(identity, &SignOn::Identity::error, this, [this](const SignOn::Error& error) {
        logFailure(error);
        finish();
    });
    identity->remove();
}

void IdentityRemoval::logFailure(const SignOn::Error& error)
{
    // The daemon forbids access to an identity that it does not have.
    if (error.type() == SignOn::Error::IdentityNotFound ||
        error.type() == SignOn::Error::PermissionDenied)
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
    else
        qCWarning(logConfigure, "The stored credentials were not removed: sign-on error %d",
                  error.type());
}

void IdentityRemoval::endPatience()
{
    qCWarning(logConfigure, "The sign-on daemon has not removed the stored credentials yet");
    Q_EMIT ended();
}

void IdentityRemoval::finish()
{
    deleteLater();
    // Not when the patience had its end before.
    if (!mPatience.isActive())
        return;
    mPatience.stop();
    Q_EMIT ended();
}

} // namespace KelAccount
