// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/accountsignout.h"

#include "account/accountsetup.h"
#include "account/sessionroad.h"
#include "common/flightrecord.h"
#include "common/logging.h"
#include "configure/kelconfigure.h"
#include "signon/kelauthsessioninterface.h"

#include <SignOn/Error>

#include <kelaccount/errorstatus.h>

#include <QPointer>

#include <utility>

namespace KelAccount {

namespace {

constexpr int tokenTimeoutMs = 90000;
constexpr int reservationTimeoutMs = 30000;
constexpr int retryMs = 50;

void recordStep(CallId call, const char* step)
{
    FlightRecord::record({FlightRecord::Moment::Step, call, -1, 0, 0, step});
}

} // namespace

AccountSignOut::AccountSignOut(KelConfigure& configure, KelAuthSessionInterface& session,
                               AccountSetUp& setUp, SessionRoad& sessions, QObject* parent)
    : QObject(parent), mConfigure(configure), mSession(session), mSetUp(setUp), mSessions(sessions),
      mReservationGuard(this), mTokenGuard(this)
{
    mReservationGuard.setSingleShot(true);
    mReservationGuard.setInterval(reservationTimeoutMs);
    mTokenGuard.setSingleShot(true);
    mTokenGuard.setInterval(tokenTimeoutMs);
    connect(&mTokenGuard, &QTimer::timeout, this, &AccountSignOut::giveTokenUp);
    connect(&mSession, &KelAuthSessionInterface::signOutResponse, this,
            &AccountSignOut::processTokenAnswer);
}

// From the event loop, as opening a session waits.
void AccountSignOut::begin(CallId call, ErrorStatus refusal)
{
    if (refusal != ErrorNone) {
        QMetaObject::invokeMethod(
            this, [this, call, refusal] { Q_EMIT finished(call, refusal); }, Qt::QueuedConnection);
        return;
    }
    mCall = call;
    mStep = Step::Opening;
    mLastAccount = 0;
    mHasReopened = false;
    mAccounts = std::make_shared<AccountsLock>();
    mReservationGuard.start();
    recordStep(call, "Reserving");
    QMetaObject::invokeMethod(
        this, [this, run = ++mRun] { reserve(run); }, Qt::QueuedConnection);
}

void AccountSignOut::withdraw(CallId call)
{
    if (call != mCall || mStep != Step::Opening)
        return;
    mStep = Step::None;
    mAccounts.reset();
}

// A folder in which no lock can be made is one whose accounts cannot be removed either: the
// database says so.
void AccountSignOut::reserve(unsigned run)
{
    if (!isOpening(run))
        return;
    if (mAccounts->tryTake() != AccountsLock::Busy) {
        takeNext();
    } else if (mReservationGuard.isActive()) {
        QTimer::singleShot(retryMs, this, [this, run] { reserve(run); });
    } else {
        qCCritical(logAccount, "The accounts of the device are kept by somebody else");
        finish(ErrorFailedToConfigureAccount);
    }
}

void AccountSignOut::takeNext()
{
    const std::optional<DeviceAccount> account = deviceAccounts().firstAccount();
    // One that is still there has not been removed, whatever was said.
    if (!account || (account->id != 0 && account->id == mLastAccount)) {
        qCCritical(logAccount, "The accounts of the device cannot be removed");
        finish(ErrorFailedToConfigureAccount);
        return;
    }
    mAccount = *account;
    if (mAccount.id == 0)
        mAccount.credentialsId = mSetUp.anyReturned();
    if (mAccount.credentialsId != 0)
        open();
    else if (mAccount.id != 0)
        removeAccount();
    else
        finish(ErrorNone);
}

void AccountSignOut::open()
{
    const QPointer<AccountSignOut> alive(this);
    const unsigned run = mRun;
    recordStep(mCall, "Opening");
    const bool isOpen = mSessions.open(mAccount.credentialsId);
    if (!alive || !isOpening(run))
        return;
    if (!isOpen) {
        processNoSession();
        return;
    }
    mStep = Step::DeletingToken;
    recordStep(mCall, "DeletingToken");
    mTokenGuard.start();
    // In nobody's name: it is not to be taken back by who waits for all of it.
    mSession.setCaller(0);
    mSession.signOut();
}

// Perhaps for lack of credentials, perhaps because they or the plugin just came to an end.
void AccountSignOut::processNoSession()
{
    ask(IdentityTask::Look, [this, run = mRun](IdentityTask::Outcome outcome) {
        if (!isOpening(run))
            return;
        if (outcome == IdentityTask::None)
            removeAccount();
        else if (outcome == IdentityTask::Done && !std::exchange(mHasReopened, true))
            open();
        else
            finish(ErrorFailedToEstablishZorAuthSession);
    });
}

void AccountSignOut::processTokenAnswer(int status)
{
    // One that was given up is answered, too.
    if (mStep != Step::DeletingToken)
        return;
    mTokenGuard.stop();
    if (status == ErrorNone || status == ErrorTokenDoesnotExist)
        forget();
    else
        finish(status);
}

void AccountSignOut::giveTokenUp()
{
    qCCritical(logAccount, "The authentication plugin did not delete the token in time");
    mStep = Step::Removing; // the answer to come is not waited for
    mSession.destroyActiveAuthSession();
    finish(ErrorTimeout);
}

void AccountSignOut::forget()
{
    mStep = Step::Removing;
    mSession.destroyActiveAuthSession();
    recordStep(mCall, "Forgetting");
    ask(IdentityTask::Forget, [this](IdentityTask::Outcome outcome) {
        if (outcome == IdentityTask::Failed)
            finish(SignOn::Error::InternalCommunication);
        else
            removeCredentials();
    });
}

void AccountSignOut::removeCredentials()
{
    recordStep(mCall, "RemovingCredentials");
    ask(IdentityTask::Remove, [this](IdentityTask::Outcome outcome) {
        if (outcome == IdentityTask::Failed)
            finish(SignOn::Error::InternalCommunication);
        else
            removeAccount();
    });
}

void AccountSignOut::removeAccount()
{
    mStep = Step::Removing;
    recordStep(mCall, "RemovingAccount");
    mSetUp.forgetCredentials(mAccount.credentialsId);
    const auto goOn = [this](bool removed) {
        if (!removed) {
            finish(ErrorFailedToConfigureAccount);
            return;
        }
        mLastAccount = mAccount.id;
        mStep = Step::Opening;
        takeNext();
    };
    if (mAccount.id == 0)
        goOn(true);
    else
        deviceAccounts().removeAccount(mAccount.credentialsId, this, mConfigure.accountTimeout(),
                                       goOn);
}

void AccountSignOut::ask(IdentityTask::Kind kind,
                         const std::function<void(IdentityTask::Outcome)>& next)
{
    // Not once this object is gone, though the other one may live on.
    const auto goOn = [alive = QPointer<AccountSignOut>(this), next](auto outcome) {
        if (alive)
            next(outcome);
    };
    QObject* const task = mConfigure.askOfIdentity(kind, mAccount.credentialsId, goOn);
    connect(task, &QObject::destroyed, task, [accounts = mAccounts] {});
}

void AccountSignOut::finish(int status)
{
    mTokenGuard.stop();
    mStep = Step::None;
    mAccounts.reset();
    Q_EMIT finished(mCall, status);
}

} // namespace KelAccount
