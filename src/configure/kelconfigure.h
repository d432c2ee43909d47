// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "configure/identitytask.h"
#include "configure/ownidentities.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>

namespace SignOn {
class Error;
class Identity;
class IdentityInfo;
} // namespace SignOn

namespace KelAccount {

/// Keeps the user's name and password in the sign-on daemon's store, and starts the device account.
class KelConfigure : public QObject
{
    Q_OBJECT

public:
    explicit KelConfigure(QObject* parent = nullptr);
    ~KelConfigure() override;

    /// Stores a new identity. 0 when the store was asked; `storeUserCredentialsStatus` follows,
    /// once. -1 when it could not be asked or another store is under way; no signal follows.
    int storeUserCredentials(const QString& userName, const QString& password);

    /// Where an identity may come from that is made already, but not stored: whoever is asked gives
    /// it away, or says that there is none.
    using IdentitySource = std::function<SignOn::Identity*()>;
    void setIdentitySource(const IdentitySource& source) { mIdentitySource = source; }

    /// Has the identity removed, also when this object does not live to see it. The outcome is only
    /// logged. `next`, if any, is called from the event loop when it has come, or has not come in
    /// time; not once this object is gone.
    void removeIdentity(unsigned int credentialsId, const std::function<void()>& next = nullptr);

    /// The same for anything that can be asked of an identity, with its outcome. What asks lives
    /// until the daemon has done it or is given up.
    QObject* askOfIdentity(IdentityTask::Kind kind, unsigned int credentialsId,
                           const std::function<void(IdentityTask::Outcome)>& next);

    /// Whether the device has an account of the service, enabled or not.
    bool isKelAccountPresent();

    /// Creates the device account. 0 when the accounts manager has it; `configureAccountStatus`
    /// follows, once. -1 on failure; no signal follows.
    int configureAccount(const QString& name, unsigned int credentialsId);

    /// Has the device account of the credentials removed, also when this object does not live to
    /// see it. The outcome is only logged; `next`, where there is one, is called when it has come,
    /// or has not come in time.
    void removeAccount(unsigned int credentialsId, const std::function<void()>& next);

    /// How long the daemon may take to store. Long enough to unlock its store, and only there so
    /// that a daemon that cannot be started does not leave the set-up waiting for ever.
    void setStoreTimeout(int milliseconds) { mStoreGuard.setInterval(milliseconds); }
    /// How long the accounts database may be locked by others.
    void setAccountTimeout(int milliseconds) { mAccountTimeoutMs = milliseconds; }
    int accountTimeout() const { return mAccountTimeoutMs; }
    /// How long a caller of removeIdentity() or askOfIdentity() is kept waiting.
    void setRemovalTimeout(int milliseconds) { mRemovalTimeoutMs = milliseconds; }

Q_SIGNALS:
    void storeUserCredentialsStatus(bool stored, quint32 credentialsId);
    /// Whether the device account is in the accounts database.
    void configureAccountStatus(bool stored);
    void identityRemovalCompleted();

public Q_SLOTS:
    void onCredentialStoredSuccessfully(quint32 credentialsId);
    void onCredentialStoreFailed(const SignOn::Error& error);
    /// For a caller that connects an identity's `removed()` to it.
    void onRemovalComplete();

private Q_SLOTS:
    void processBusLoss();

private:
    void watchBus();
    void withDaemon(const std::function<void()>& next);
    bool storeRecord(const SignOn::IdentityInfo& record);
    bool connectIdentity();
    void takeStoreBack();
    /// What the daemon may have stored before it went away, without having said under which number.
    void removeUnknown();
    void removeAll(QList<quint32> credentialsIds);
    void finishStore(bool stored, quint32 credentialsId);
    void releaseIdentity();
    void abandonStore();

    IdentitySource mIdentitySource;
    std::unique_ptr<QObject> mStore;      // what a store that is under way waits on, or null
    QPointer<SignOn::Identity> mIdentity; // being stored, or null
    QString mUserName;                    // of the store that is under way
    IdentityNumbers mIdentitiesBefore;    // of that user, as far as is known
    bool mWatchesBus = false;
    QTimer mStoreGuard;
    int mAccountTimeoutMs;
    int mRemovalTimeoutMs;
};

} // namespace KelAccount
