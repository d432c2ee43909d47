// SPDX-License-Identifier: LGPL-2.1-or-later
#include "configure/kelconfigure.h"

#include "common/logging.h"
#include "common/signondaemon.h"
#include "configure/deviceaccounts.h"

#include <SignOn/Identity>

#include <memory>

namespace KelAccount {

namespace {

constexpr int storeTimeoutMs = 90000;

const QLatin1String ownerToken("libaccounts-kel::accesssvt");

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

void removeStoredIdentity(unsigned int credentialsId)
{
    SignOn::Identity* const identity = SignOn::Identity::existingIdentity(credentialsId);
    if (!identity) {
        qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        return;
    }
    const bool connected =
        QObject::connect(identity, &SignOn::Identity::removed, identity, &QObject::deleteLater) &&
        QObject::connect(identity, &SignOn::Identity::error, identity, &QObject::deleteLater);
    if (!connected)
        qCWarning(logConfigure, "Failed to connect to deleteLater.. Possibility of memory leak");
    QObject::connect(identity, &SignOn::Identity::error, identity, [](const SignOn::Error& error) {
        // The daemon forbids access to an identity that it does not have.
        if (error.type() == SignOn::Error::IdentityNotFound ||
            error.type() == SignOn::Error::PermissionDenied)
            qCCritical(logConfigure, "Failed to get identity object for the given identity id");
        else
            qCWarning(logConfigure, "The stored credentials were not removed: sign-on error %d",
                      error.type());
    });
    identity->remove();
}

} // namespace

KelConfigure::KelConfigure(QObject* parent) : QObject(parent)
{
    mStoreGuard.setSingleShot(true);
    mStoreGuard.setInterval(storeTimeoutMs);
    connect(&mStoreGuard, &QTimer::timeout, this, [this] {
        qCCritical(logConfigure, "The sign-on daemon did not store the credentials in time");
        onCredentialStoreFailed(SignOn::Error(SignOn::Error::TimedOut));
    });
}

KelConfigure::~KelConfigure() = default;

int KelConfigure::storeUserCredentials(const QString& userName, const QString& password)
{
    if (mStore) {
        qCCritical(logConfigure, "Credentials are being stored already");
        return -1;
    }
    if (!reachesSessionBus())
        return -1;
    mStore = std::make_unique<QObject>();
    mStoreGuard.start();
    ensureSignOnDaemon(
        mStore.get(), mStoreGuard.interval(),
        [this, store = mStore.get(), record = identityRecord(userName, password)](bool running) {
            // The guard may have given up on this store already.
            if (store == mStore.get() && (!running || !storeRecord(record)))
                finishStore(false, 0);
        });
    return 0;
}

bool KelConfigure::storeRecord(const SignOn::IdentityInfo& record)
{
    mIdentity = SignOn::Identity::newIdentity(record, this);
    if (!mIdentity) {
        qCCritical(logConfigure, "Failed to retrieve newIdentity. NULL pointer");
        return false;
    }
    if (!connectIdentity())
        return false;
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
    // Later, because this may run in a slot of its own.
    if (mStore)
        mStore.release()->deleteLater();
    if (mIdentity) {
        mIdentity->disconnect();
        mIdentity->deleteLater();
        mIdentity.clear();
    }
    Q_EMIT storeUserCredentialsStatus(stored, credentialsId);
}

void KelConfigure::onCredentialStoredSuccessfully(quint32 credentialsId)
{
    finishStore(true, credentialsId);
}

void KelConfigure::onCredentialStoreFailed(const SignOn::Error& /*error*/)
{
    finishStore(false, 0);
}

void KelConfigure::removeIdentity(unsigned int credentialsId)
{
    if (!reachesSessionBus())
        return;
    // Not tied to this object: the credentials have to go even if it does not live to see it.
    auto* const keeper = new QObject;
    ensureSignOnDaemon(keeper, mStoreGuard.interval(), [keeper, credentialsId](bool running) {
        keeper->deleteLater();
        if (running)
            removeStoredIdentity(credentialsId);
    });
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
    return deviceAccounts().createAccount(name, credentialsId, this);
}

} // namespace KelAccount
