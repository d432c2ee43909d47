// SPDX-License-Identifier: LGPL-2.1-or-later
#include "account/accountsetup.h"

#include "common/flightrecord.h"
#include "common/logging.h"

#include <kelaccount/errorstatus.h>
#include <kelaccount/resultkeys.h>

#include <QMetaEnum>
#include <QPointer>

#include <utility>

namespace KelAccount {

using SetUpStates::Action;
using SetUpStates::Event;
using SetUpStates::State;

namespace {

constexpr int reservationTimeoutMs = 30000;
constexpr int retryMs = 50;

bool holdsAccounts(State state)
{
    return state == State::Reserving || state == State::Creating || state == State::CreatingInVain;
}

} // namespace

AccountSetUp::AccountSetUp(std::unique_ptr<SetUpSteps> steps, QObject* parent)
    : QObject(parent), mSteps(std::move(steps)), mReservationGuard(this), mRetry(this)
{
    mReservationGuard.setSingleShot(true);
    mReservationGuard.setInterval(reservationTimeoutMs);
    connect(&mReservationGuard, &QTimer::timeout, this, [this] {
        qCCritical(logAccount, "Another set-up has kept the accounts for too long");
        handle(Event::GivenUp, ErrorFailedToConfigureAccount);
    });
    mRetry.setSingleShot(true);
    mRetry.setInterval(retryMs);
    connect(&mRetry, &QTimer::timeout, this, [this] { handle(Event::Retried); });
}

void AccountSetUp::begin(OpenCall call, Kind kind, const QString& name, const QString& password,
                         bool wantsAccount)
{
    if (mState != State::Idle)
        return;
    mCall = call;
    mKind = kind;
    mName = name;
    mPassword = password;
    mWantsAccount = wantsAccount;
    // Where nothing has failed, it is only taken back because it was withdrawn.
    mStatus = ErrorOperationCanceled;
    handle(Event::Begun);
}

void AccountSetUp::withdraw(CallId call)
{
    if (call == mCall.id)
        handle(Event::Withdrawn);
}

void AccountSetUp::stored(quint32 credentialsId)
{
    if (mState == State::Storing || mState == State::StoringInVain)
        mCredentialsId = credentialsId;
    handle(Event::Stored);
}

void AccountSetUp::succeeded(const SignOn::SessionData& data)
{
    if (mState == State::Asking)
        mAnswer = data;
    handle(Event::Succeeded);
}

quint32 AccountSetUp::sessionCredentials() const
{
    return mState == State::Idle ? mWithoutAccount : mCredentialsId;
}

void AccountSetUp::forgetCredentials(quint32 credentialsId)
{
    mReturned.remove(credentialsId);
    if (mWithoutAccount == credentialsId)
        mWithoutAccount = 0;
}

void AccountSetUp::handle(Event event, int status)
{
    const SetUpStates::Transition transition = SetUpStates::transition(mState, event);
    if (mState != transition.next) {
        const char* const step =
            QMetaEnum::fromType<State>().valueToKey(static_cast<int>(transition.next));
        qCDebug(logAccount, "The set-up is %s", step);
        if (transition.next != State::Idle)
            FlightRecord::record({FlightRecord::Moment::Step, mCall.id, -1, status, 0, step});
    }
    mState = transition.next;
    if (mState != State::Reserving) {
        mReservationGuard.stop();
        mRetry.stop();
    }
    if (!holdsAccounts(mState))
        mAccounts.release();
    perform(transition.action, event, status);
}

/// This object may be gone when it returns.
void AccountSetUp::perform(Action action, Event event, int status)
{
    switch (action) {
    case Action::Missing:
    case Action::Ignore:
        return;
    case Action::Complain:
        qCCritical(logAccount, "Error... Unknown request type");
        return;
    case Action::Store:
        if (!mSteps->store(std::exchange(mName, {}), std::exchange(mPassword, {})))
            handle(Event::NotAsked);
        return;
    case Action::Refuse:
        qCCritical(logAccount, "%s",
                   mKind == SignIn ? "Failed to store credentials during signInAndConfigure"
                                   : "Failed to store credentials during registration");
        reply(ErrorStoreCredentialsFailed, {}, true);
        return;
    case Action::Announce:
        announce();
        return;
    case Action::OpenSession:
        openSession();
        return;
    case Action::AskPlugin:
        mSteps->askPlugin(mKind);
        return;
    case Action::Reserve:
        reserve();
        return;
    case Action::Wait:
        if (!mReservationGuard.isActive())
            mReservationGuard.start();
        mRetry.start();
        return;
    case Action::Create:
        create();
        return;
    case Action::Complete:
        complete();
        return;
    case Action::TakeBack:
        logTakingBack(event);
        takeBack(status);
        return;
    case Action::TakeAllBack:
        takeAllBack();
        return;
    case Action::Answer:
        reply(mStatus);
        return;
    case Action::RemoveUnseen:
        mSteps->takeBack(std::exchange(mCredentialsId, 0), nullptr);
        return;
    case Action::RemoveAllUnseen:
        mSteps->takeAllBack(std::exchange(mCredentialsId, 0), nullptr);
        return;
    case Action::RemoveUnlessStored:
        if (!mSteps->hasAccount())
            mSteps->takeBack(std::exchange(mCredentialsId, 0), nullptr);
        return;
    }
}

void AccountSetUp::announce()
{
    const QPointer<AccountSetUp> alive(this);
    reply(ErrorStoreCredentialsFailed);
    if (alive)
        handle(Event::Announced);
}

void AccountSetUp::openSession()
{
    const QPointer<AccountSetUp> alive(this);
    const bool open = mSteps->openSession(mCredentialsId);
    if (!alive)
        return;
    if (open)
        handle(Event::Opened);
    else
        handle(Event::NotOpened, ErrorFailedToEstablishZorAuthSession);
}

void AccountSetUp::reserve()
{
    if (!mWantsAccount) {
        handle(Event::NotWanted);
        return;
    }
    // A folder in which no lock can be made is one in which the database cannot be written either:
    // what is wrong with it is the framework's to say.
    if (mAccounts.tryTake() == AccountsLock::Busy)
        handle(Event::Busy);
    else if (mSteps->hasAccount())
        handle(Event::Taken, ErrorAccountAlreadyPresent);
    else
        handle(Event::Free);
}

void AccountSetUp::create()
{
    if (!mSteps->createAccount(mCredentialsId, mAnswer))
        handle(Event::AccountFailed, ErrorFailedToConfigureAccount);
}

void AccountSetUp::complete()
{
    mSteps->reportDevice();
    const QVariantMap values = result();
    const quint32 credentialsId = mCredentialsId;
    mReturned.insert(credentialsId);
    mWithoutAccount = mWantsAccount ? 0 : credentialsId;
    const QPointer<AccountSetUp> alive(this);
    if (reply(ErrorNone, values) || !alive || mState != State::Idle)
        return;
    // It was withdrawn while it was completed, which takes seconds when the modem's service hangs.
    forgetCredentials(credentialsId);
    mCredentialsId = credentialsId;
    handle(Event::Unheard);
}

void AccountSetUp::logTakingBack(Event event) const
{
    if (event == Event::Taken)
        qCCritical(logAccount, "Another set-up has made the account of the device meanwhile");
    if (event != Event::GivenUp && event != Event::AccountFailed)
        return;
    qCCritical(logAccount, "%s",
               mKind == SignIn
                   ? "Signin was successful.. but failed to configure the account on device"
                   : "Registration was successful.. but failed to configure the account on device");
}

void AccountSetUp::takeBack(int status)
{
    if (status != ErrorNone)
        mStatus = status;
    // The next session is not to be opened on what is being removed. An application may end with
    // the answer, so that comes last.
    mSteps->takeBack(std::exchange(mCredentialsId, 0), [this] { handle(Event::TakenBack); });
}

void AccountSetUp::takeAllBack()
{
    mSteps->takeAllBack(std::exchange(mCredentialsId, 0), [this] { handle(Event::TakenBack); });
}

bool AccountSetUp::reply(int status, const QVariantMap& values, bool later)
{
    mAnswer = SignOn::SessionData();
    mCredentialsId = 0;
    return mSteps->answer(mCall, status, values, later);
}

QVariantMap AccountSetUp::result() const
{
    const auto value = [this](const char* key) {
        return mAnswer.getProperty(QString::fromLatin1(key));
    };
    return {
        {ResultKey::identityId, mCredentialsId},
        {ResultKey::accountId, value("KelAccountId")},
        {ResultKey::loginId, value("LoginId")},
        {ResultKey::userId, value("UserId")},
        {ResultKey::emailAddress, value("EmailAddress")},
    };
}

} // namespace KelAccount
