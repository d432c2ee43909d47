// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/calls.h"
#include "account/setuptable.h"
#include "common/wipe.h"
#include "configure/accountslock.h"

#include <SignOn/SessionData>

#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace KelAccount {

/// What a set-up has others do. An outcome that does not come with the call's return is handed to
/// AccountSetUp::handle() later.
class SetUpSteps
{
public:
    virtual ~SetUpSteps() = default;

    /// False when the daemon could not be asked to store the credentials.
    virtual bool store(const QString& name, const QString& password) = 0;
    /// May run an event loop, in which the set-up itself may come to its end.
    virtual bool openSession(quint32 credentialsId) = 0;
    virtual void askPlugin(int kind) = 0;
    virtual bool hasAccount() = 0;
    /// False when the account could not be made.
    virtual bool createAccount(quint32 credentialsId, const SignOn::SessionData& data) = 0;
    /// Tells the service about the device, which nobody waits for.
    virtual void reportDevice() = 0;
    /// Closes the session and removes the credentials; then calls `next`. Without a `next`, when
    /// the whole library goes, that is done behind its back.
    virtual void takeBack(quint32 credentialsId, const std::function<void()>& next) = 0;
    /// The same, and the device account of these credentials.
    virtual void takeAllBack(quint32 credentialsId, const std::function<void()>& next) = 0;
    /// Anything may happen in it. `later`: from the event loop. False when nobody waited for it.
    virtual bool answer(OpenCall call, int status, const QVariantMap& result, bool later) = 0;
};

/// The set-up of the device account: store the credentials, open a session on them, sign in or
/// register through the plugin, create the account. A step that fails takes the ones before it
/// back. What it does when stands in setuptable.cpp.
///
/// It knows the credentials that are to be removed after a failure, holds the accounts while it
/// looks for one and makes one, and gives the one answer. Each step has a bound of its own, so that
/// each outcome comes; what comes when it is not waited for does nothing.
class AccountSetUp : public QObject
{
    Q_OBJECT

public:
    enum Kind { None = 0, SignIn = 1, Registration = 2 };

    AccountSetUp(std::unique_ptr<SetUpSteps> steps, QObject* parent);

    void begin(OpenCall call, Kind kind, const QString& name, const QString& password,
               bool wantsAccount);
    /// Nobody waits for it any more, if it is that call's.
    void withdraw(CallId call);

    // Outcomes.
    void stored(quint32 credentialsId);
    void handle(SetUpStates::Event event, int status = 0);
    void succeeded(const SignOn::SessionData& data);

    SetUpStates::State state() const { return mState; }
    /// None while no set-up is under way.
    int pending() const { return mState == SetUpStates::State::Idle ? None : mKind; }
    /// Of the set-up that is under way, 0 when it has stored none.
    quint32 credentialsId() const { return mCredentialsId; }
    /// What a session is to be opened on: the credentials of the set-up that is under way, or those
    /// that the last one left without an account on the device; 0 for the account's, whoever made
    /// it.
    quint32 sessionCredentials() const;
    /// Any that set-ups of this object have returned and that are not known to be gone; 0 when
    /// there are none.
    quint32 anyReturned() const { return mReturned.isEmpty() ? 0 : *mReturned.cbegin(); }
    /// They are gone.
    void forgetCredentials(quint32 credentialsId);
    /// Whether a set-up of this object has returned these credentials.
    bool hasReturned(quint32 credentialsId) const { return mReturned.contains(credentialsId); }

    /// How long another set-up may keep the accounts to itself.
    void setReservationTimeout(int milliseconds) { mReservationGuard.setInterval(milliseconds); }

private:
    void perform(SetUpStates::Action action, SetUpStates::Event event, int status);
    void logTakingBack(SetUpStates::Event event) const;
    void openSession();
    void reserve();
    void create();
    void complete();
    void takeBack(int status);
    void takeAllBack();
    void announce();
    bool reply(int status, const QVariantMap& result = {}, bool later = false);
    QVariantMap result() const;

    std::unique_ptr<SetUpSteps> mSteps;
    SetUpStates::State mState = SetUpStates::State::Idle;
    OpenCall mCall{}; // of the one that is under way, or of the last
    int mKind = None;
    bool mWantsAccount = false;
    QString mName;
    SecretText mPassword; // no longer than until the store is asked
    quint32 mCredentialsId = 0;
    SignOn::SessionData mAnswer; // of the plugin
    int mStatus = 0;             // the answer to come when it is not a success
    AccountsLock mAccounts;
    QTimer mReservationGuard;
    QTimer mRetry;
    quint32 mWithoutAccount = 0;
    QSet<quint32> mReturned;
};

} // namespace KelAccount
