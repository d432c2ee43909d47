// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"

#include "common/logging.h"
#include "common/signondaemon.h"
#include "common/unfinishedwork.h"
#include "configure/deviceaccounts.h"

#include <SignOn/Identity>

#include <QDBusConnection>

#include <memory>
#include <utility>

namespace KelAccount {

namespace {

constexpr int storeTimeoutMs = 90000;
constexpr int accountTimeoutMs = 30000;
constexpr int removalTimeoutMs = 10000;
constexpr int searchTimeoutMs = 10000;

/// What the plugin may be asked for: its operations, and the items of data that it hands out.
QStringList zorAuthMechanisms()
{
    QStringList mechanisms;
    for (const char* name : {
             "initialise",
             "signIn",
             "token",
             "userId",
             "signature",
             "loginIdentifier",
             "timeSinceLastManualLogin",
             "serverUTCTime",
             "kelAccountId",
             "launchSignInUi",
             "close",
             "emailAddress",
             "retrieveTermsUrls",
             "setUserId",
             "privateMechanism_signOut",
             "privateMechanism_resetPassword",
             "privateMechanism_changepassword", // the plugin knows it by this spelling only
             "privateMechanism_updateMarketingConsent",
             "privateMechanism_retrieveMarketingConsent",
             "privateMechanism_updateTermsOfAcceptance",
             "privateMechanism_retrieveTermsOfAcceptance",
             "privateMechanism_downloadProfile",
             "privateMechanism_updateProfile",
             "privateMechanism_retrieveSecurityQuestion",
             "privateMechanism_updateSecurityQuestion",
             "privateMechanism_retrieveContactInfo",
             "privateMechanism_updateContactInfo",
             "privateMechanism_registerAccount",
             "privateMechanism_updateDeviceInfo",
             "privateMechanism_ensureToken",
         })
        mechanisms.append(QLatin1String(name));
    return mechanisms;
}

SignOn::IdentityInfo identityRecord(const QString& userName, const QString& password)
{
    SignOn::IdentityInfo record;
    record.setAccessControlList(
        QStringList{QStringLiteral("account-plugin-zor::kelaccess"), ownerToken});
    record.setOwner(ownerToken);
    record.setMethod(QStringLiteral("zorauth"), zorAuthMechanisms());
    record.setMethod(QStringLiteral("sasl"), {QStringLiteral("DIGEST-MD5")});
    record.setType(SignOn::IdentityInfo::Application);
    record.setUserName(userName);
    record.setSecret(password, true);
    //% "Zor account"
    record.setCaption(qtTrId("qtn_zor_account_title"));
    return record;
}

} // namespace

KelConfigure::KelConfigure(QObject* parent)
    : QObject(parent), mStoreGuard(this), mAccountTimeoutMs(accountTimeoutMs),
      mRemovalTimeoutMs(removalTimeoutMs)
{
    mStoreGuard.setSingleShot(true);
    mStoreGuard.setInterval(storeTimeoutMs);
    connect(&mStoreGuard, &QTimer::timeout, this, [this] {
        qCCritical(logConfigure, "The sign-on daemon did not store the credentials in time");
        abandonStore();
        finishStore(false, 0);
    });
}

KelConfigure::~KelConfigure()
{
    abandonStore();
}

int KelConfigure::storeUserCredentials(const QString& userName, const QString& password)
{
    if (mStore) {
        qCCritical(logConfigure, "Credentials are being stored already");
        return -1;
    }
    if (!reachesSessionBus())
        return -1;
    watchBus();
    mStore = std::make_unique<QObject>();
    mStoreGuard.start();
    whenSignOnDaemonIsLost(mStore.get(), [this] {
        if (!mIdentity)
            return;
        // Its answer may not come.
        qCCritical(logConfigure, "The sign-on daemon went away while it stored credentials");
        takeStoreBack();
    });
    const SignOn::IdentityInfo record = identityRecord(userName, password);
    withDaemon([this, record] {
        mUserName = record.userName();
        qCDebug(logConfigure, "The sign-on daemon runs");
        const auto note = [this, store = mStore.get(), record](const IdentityNumbers& before) {
            if (store != mStore.get())
                return;
            mIdentitiesBefore = before;
            qCDebug(logConfigure, "The identities before are known");
            // Once more: it may have ended instead of answering.
            withDaemon([this, record] {
                if (!storeRecord(record))
                    finishStore(false, 0);
            });
        };
        findOwnIdentities(mStore.get(), mUserName, searchTimeoutMs, note);
    });
    return 0;
}

void KelConfigure::watchBus()
{
    if (std::exchange(mWatchesBus, true))
        return;
    QDBusConnection::sessionBus().connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                                          QStringLiteral("org.freedesktop.DBus.Local"),
                                          QStringLiteral("Disconnected"), this,
                                          SLOT(processBusLoss()));
}

// Nobody tells any more whether the daemon goes on, and the sign-on library tells nothing of what
// it was asked to store.
void KelConfigure::processBusLoss()
{
    if (!mStore)
        return;
    qCCritical(logConfigure, "The session bus went away while credentials were stored");
    takeStoreBack();
}

// Goes on with the store that is under way, when it still is, and when there is a daemon.
void KelConfigure::withDaemon(const std::function<void()>& next)
{
    ensureSignOnDaemon(mStore.get(), mStoreGuard.interval(),
                       [this, store = mStore.get(), next](bool running) {
                           // The guard may have given up on this store already.
                           if (store != mStore.get())
                               return;
                           if (running)
                               next();
                           else
                               finishStore(false, 0);
                       });
}

bool KelConfigure::storeRecord(const SignOn::IdentityInfo& record)
{
    mIdentity = mIdentitySource ? mIdentitySource() : nullptr;
    if (mIdentity)
        mIdentity->setParent(this);
    else
        mIdentity = SignOn::Identity::newIdentity(record, this);
    if (!mIdentity) {
        qCCritical(logConfigure, "Failed to retrieve newIdentity. NULL pointer");
        return false;
    }
    if (!connectIdentity())
        return false;
    qCDebug(logConfigure, "The credentials are being stored");
    mIdentity->storeCredentials(record);
    return true;
}

bool KelConfigure::connectIdentity()
{
    if (!connect(mIdentity, &SignOn::Identity::credentialsStored, this,
                 &KelConfigure::onCredentialStoredSuccessfully)) {
        qCCritical(logConfigure,
                   "Failed to connect to credentialsStored signal from SignOn::Identity");
        return false;
    }
    if (!connect(mIdentity, &SignOn::Identity::error, this,
                 &KelConfigure::onCredentialStoreFailed)) {
        qCCritical(logConfigure, "Failed to connect to error signal from SignOn::Identity");
        return false;
    }
    return true;
}

void KelConfigure::finishStore(bool stored, quint32 credentialsId)
{
    mStoreGuard.stop();
    // Later, because this may run in a slot of theirs, and even when this object ends in it.
    if (mStore)
        mStore.release()->deleteLater();
    releaseIdentity();
    Q_EMIT storeUserCredentialsStatus(stored, credentialsId);
}

void KelConfigure::releaseIdentity()
{
    if (!mIdentity)
        return;
    mIdentity->disconnect();
    mIdentity->setParent(nullptr);
    mIdentity->deleteLater();
    mIdentity.clear();
}

// What the daemon stores when nobody waits for it any more is taken out again.
void KelConfigure::abandonStore()
{
    SignOn::Identity* const identity = mIdentity;
    if (!identity)
        return;
    mIdentity.clear();
    identity->disconnect();
    identity->setParent(nullptr);
    connect(identity, &SignOn::Identity::error, identity, &QObject::deleteLater);
    connect(identity, &SignOn::Identity::credentialsStored, identity,
            [identity, patienceMs = mRemovalTimeoutMs,
             unfinished = std::make_shared<UnfinishedWork>()](quint32 credentialsId) {
                identity->deleteLater();
                (new IdentityTask(IdentityTask::Remove, credentialsId, patienceMs))->start();
            });
}

void KelConfigure::onCredentialStoredSuccessfully(quint32 credentialsId)
{
    finishStore(true, credentialsId);
}

void KelConfigure::onCredentialStoreFailed(const SignOn::Error& error)
{
    qCCritical(logConfigure, "The sign-on daemon did not store the credentials: sign-on error %d",
               error.type());
    takeStoreBack();
}

void KelConfigure::takeStoreBack()
{
    releaseIdentity();
    if (mStore && mIdentitiesBefore && reachesSessionBus())
        removeUnknown();
    else
        finishStore(false, 0);
}

void KelConfigure::removeUnknown()
{
    withDaemon([this] {
        const auto search = [this, store = mStore.get()](const IdentityNumbers& now) {
            if (store == mStore.get())
                removeAll(now ? (*now - *mIdentitiesBefore).values() : QList<quint32>());
        };
        findOwnIdentities(mStore.get(), mUserName, searchTimeoutMs, search);
    });
}

void KelConfigure::removeAll(QList<quint32> credentialsIds)
{
    if (credentialsIds.isEmpty()) {
        finishStore(false, 0);
        return;
    }
    const quint32 next = credentialsIds.takeFirst();
    removeIdentity(next, [this, store = mStore.get(), credentialsIds] {
        if (store == mStore.get())
            removeAll(credentialsIds);
    });
}

void KelConfigure::removeIdentity(unsigned int credentialsId, const std::function<void()>& next)
{
    askOfIdentity(IdentityTask::Remove, credentialsId, [next](IdentityTask::Outcome) {
        if (next)
            next();
    });
}

QObject* KelConfigure::askOfIdentity(IdentityTask::Kind kind, unsigned int credentialsId,
                                     const std::function<void(IdentityTask::Outcome)>& next)
{
    auto* const task = new IdentityTask(kind, credentialsId, mRemovalTimeoutMs);
    connect(task, &IdentityTask::ended, this, next);
    task->start();
    return task;
}

void KelConfigure::onRemovalComplete()
{
    if (QObject* const identity = sender()) {
        disconnect(identity, nullptr, this, nullptr);
        identity->deleteLater();
    }
    Q_EMIT identityRemovalCompleted();
}

bool KelConfigure::isKelAccountPresent()
{
    const std::optional<bool> present = deviceAccounts().hasAccount();
    if (!present)
        qCCritical(logConfigure, "Failed to get manager");
    return present.value_or(false);
}

int KelConfigure::configureAccount(const QString& name, unsigned int credentialsId)
{
    return deviceAccounts().createAccount(
        name, credentialsId, this, mAccountTimeoutMs,
        [this](bool stored) { Q_EMIT configureAccountStatus(stored); });
}

void KelConfigure::removeAccount(unsigned int credentialsId, const std::function<void()>& next)
{
    const QPointer<KelConfigure> waiting(this);
    // Nobody's: it outlives this object, and the application may live on another thread.
    deviceAccounts().removeAccount(
        credentialsId, nullptr, mAccountTimeoutMs,
        [waiting, next, unfinished = std::make_shared<UnfinishedWork>()](bool removed) mutable {
            unfinished.reset(); // what holds this function may go with the thread
            if (!removed)
                qCCritical(logConfigure, "The device account of a set-up could not be removed");
            if (waiting && next)
                next();
        });
}

} // namespace KelAccount
