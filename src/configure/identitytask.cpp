// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/identitytask.h"

#include "common/logging.h"
#include "common/signondaemon.h"

#include <SignOn/Identity>

#include <QThread>

#include <utility>

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

IdentityTask::IdentityTask(Kind kind, unsigned int credentialsId, int patienceMs)
    : mKind(kind), mCredentialsId(credentialsId)
{
    if (kind == Remove)
        mUnfinished.emplace();
    mPatience.setSingleShot(true);
    mPatience.setInterval(patienceMs);
    connect(&mPatience, &QTimer::timeout, this, &IdentityTask::endPatience);
    mRetry.setSingleShot(true);
    mRetry.setInterval(retryMs);
    connect(&mRetry, &QTimer::timeout, this, &IdentityTask::attempt);
    // Nobody would end it any more, nor what lasts as long, such as the reservation of the
    // accounts.
    connect(
        thread(), &QThread::finished, this, [this] { delete this; }, Qt::DirectConnection);
}

IdentityTask::~IdentityTask()
{
    dropIdentity();
}

void IdentityTask::start()
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
        QMetaObject::invokeMethod(
            this, [this] { finish(Failed); }, Qt::QueuedConnection);
    }
}

void IdentityTask::attempt()
{
    dropIdentity();
    ensureSignOnDaemon(this, daemonStartTimeoutMs, [this](bool running) {
        if (running)
            ask();
        else if (++mFailedStarts < startAttempts)
            tryAgain();
        else
            finish(Failed);
    });
}

void IdentityTask::ask()
{
    mIdentity = SignOn::Identity::existingIdentity(mCredentialsId);
    if (!mIdentity) {
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        finish(Failed);
        return;
    }
    connectIdentity();
    switch (mKind) {
    case Look:
        mIdentity->queryInfo();
        return;
    case Forget:
        mIdentity->signOut();
        return;
    case Remove:
        mIdentity->remove();
        return;
    }
}

void IdentityTask::connectIdentity()
{
    const auto done = [this] { finish(Done); };
    switch (mKind) {
    case Look:
        connect(mIdentity, &SignOn::Identity::info, this, done);
        break;
    case Forget:
        connect(mIdentity, &SignOn::Identity::signedOut, this, done);
        break;
    case Remove: {
        const bool connected =
            connect(mIdentity, &SignOn::Identity::removed, mIdentity, &QObject::deleteLater) &&
            connect(mIdentity, &SignOn::Identity::error, mIdentity, &QObject::deleteLater);
        if (!connected)
            qCWarning(logConfigure,
                      "Failed to connect to deleteLater.. Possibility of memory leak");
        connect(mIdentity, &SignOn::Identity::removed, this, done);
        break;
    }
    }
    connect(mIdentity, &SignOn::Identity::error, this, &IdentityTask::processError);
}

void IdentityTask::processError(const SignOn::Error& error)
{
    if (saysThereIsNone(error)) {
        if (mKind == Remove)
            qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        finish(None);
        return;
    }
    // A store that is broken says so ten times a second.
    if (std::exchange(mLastError, error.type()) != error.type())
        qCWarning(logConfigure, "%s: sign-on error %d",
                  mKind == Remove ? "The stored credentials were not removed"
                                  : "The sign-on daemon does not do what it is asked",
                  error.type());
    tryAgain();
}

void IdentityTask::tryAgain()
{
    dropIdentity();
    if (mPatience.isActive())
        mRetry.start();
    else
        finish(Failed);
}

void IdentityTask::dropIdentity()
{
    if (!mIdentity)
        return;
    mIdentity->disconnect();
    mIdentity->deleteLater(); // this may run in a slot of its
    mIdentity.clear();
}

void IdentityTask::endPatience()
{
    qCWarning(logConfigure, "%s",
              mKind == Remove ? "The sign-on daemon has not removed the stored credentials yet"
                              : "The sign-on daemon does not answer");
    Q_EMIT ended(Failed);
    // What nobody waits for any more is not to be forgotten later.
    if (mKind != Remove)
        finish(Failed);
}

void IdentityTask::finish(Outcome outcome)
{
    dropIdentity();
    mRetry.stop();
    deleteLater();
    // Not when the patience had its end before.
    if (!mPatience.isActive())
        return;
    mPatience.stop();
    Q_EMIT ended(outcome);
}

} // namespace KelAccount
