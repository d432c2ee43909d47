// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"
#include "configure/accountslock.h"
#include "configure/deviceaccounts.h"
#include "configure/identitytask.h"

#include <kelaccount/errorstatus.h>

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

namespace KelAccount {

class AccountSetUp;
class KelAuthSessionInterface;
class KelConfigure;
class SessionRoad;

/// Signing out: deletes the token at the service, what the plugin has stored, the credentials and
/// the device account, in this order, of each account of the service and of the credentials that
/// set-ups of this object left without one. The account is the last to go, since it is what tells
/// of the others: whenever a sign-out fails or its process ends, the next one finds what is left.
///
/// Each step has a bound of its own. One that finds nothing counts as done. Any other failure ends
/// the sign-out.
///
/// It has the accounts to itself, in all processes: the daemon stores credentials anew, for good,
/// when an answer of the plugin meets their removal.
class AccountSignOut : public QObject
{
    Q_OBJECT

public:
    /// All of these outlive this object.
    AccountSignOut(KelConfigure& configure, KelAuthSessionInterface& session, AccountSetUp& setUp,
                   SessionRoad& sessions, QObject* parent);

    /// `finished` follows, once: with that status and nothing else done, unless it is ErrorNone.
    /// None is begun while another is under way.
    void begin(CallId call, ErrorStatus refusal);
    /// Nobody waits for it any more, if it is that call's. It ends, without a word, where nothing
    /// of the account at hand has been touched yet; otherwise it goes on.
    void withdraw(CallId call);
    bool isUnderWay() const { return mStep != Step::None; }

    /// How long another one, or a set-up, may keep the accounts to itself.
    void setReservationTimeout(int milliseconds) { mReservationGuard.setInterval(milliseconds); }
    /// How long the plugin may take. More than the service may.
    void setTokenTimeout(int milliseconds) { mTokenGuard.setInterval(milliseconds); }

Q_SIGNALS:
    /// 0 when all is gone, or was; 806 without a session; what the plugin reported of the service;
    /// 404 when it does not answer; 3 when the sign-on daemon does not do its part; 805 when the
    /// accounts database does not. After a failure, some of it may be gone: it can begin anew.
    void finished(KelAccount::CallId call, int status);

private:
    enum class Step { None, Opening, DeletingToken, Removing };

    void reserve(unsigned run);
    void takeNext();
    void open();
    void processNoSession();
    void processTokenAnswer(int status);
    void giveTokenUp();
    void forget();
    void removeCredentials();
    void removeAccount();
    void finish(int status);
    void ask(IdentityTask::Kind kind, const std::function<void(IdentityTask::Outcome)>& next);
    /// Whether this run still is the one under way, and has not begun to delete.
    bool isOpening(unsigned run) const { return mStep == Step::Opening && mRun == run; }

    KelConfigure& mConfigure;
    KelAuthSessionInterface& mSession;
    AccountSetUp& mSetUp;
    SessionRoad& mSessions;
    CallId mCall = 0; // of the one that is under way, or of the last
    Step mStep = Step::None;
    unsigned mRun = 0;
    bool mHasReopened = false;
    /// Kept by what is asked of the daemon, too, which may outlive this object.
    std::shared_ptr<AccountsLock> mAccounts;
    QTimer mReservationGuard;
    DeviceAccount mAccount;   // the one under way; without an id, credentials that have none
    quint32 mLastAccount = 0; // which was removed
    QTimer mTokenGuard;
};

} // namespace KelAccount
