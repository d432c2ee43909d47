// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/worker.h"

#include "client/failures.h"
#include "client/resultvalues.h"
#include "client/retrywait.h"

#include <kelaccount/profileinfo.h>

#include <QRandomGenerator>

#include <utility>

namespace KelAccount {

using Accounts = KelAccountsPrivate;

Worker::Worker(std::shared_ptr<HandOver> handOver)
    : mHandOver(std::move(handOver)), mBell([this] { onRing(); }), mAccounts(nullptr)
{
    connectAnswers();
    mHandOver->setClientsBell(&mBell);
}

Worker::~Worker()
{
    // The bell goes, too. Who ends this thread has ended the hand-over before, which rings no more.
    mAccounts.disconnect(&mBell);
    // What was taken back before the end is taken back, though nobody may have heard of it yet.
    for (auto order = mHandOver->takeOrder(); order.kind != HandOver::Order::Nothing;
         order = mHandOver->takeOrder()) {
        if (order.kind == HandOver::Order::Abandon)
            abandon(order.call);
    }
    mHandOver->setPerformed(nullptr);
}

void Worker::onRing()
{
    const HandOver::Call before = mHandOver->performed();
    HandOver::Order order = mHandOver->takeOrder();
    switch (order.kind) {
    case HandOver::Order::Nothing:
        return;
    case HandOver::Order::Perform:
        perform(order, before);
        return;
    case HandOver::Order::Abandon:
        abandon(order.call);
        return;
    }
}

// Other calls may be performed before it returns, from an event loop that it runs. So its answer
// has to find it from the beginning.
void Worker::perform(HandOver::Order& order, const HandOver::Call& before)
{
    const CallId id = mAccounts.calls().next();
    order.call->id = id;
    mRunning.emplace(id, order.call);
    const std::optional<Ending> ending = order.operation(mAccounts);
    mHandOver->setPerformed(before);
    if (!ending)
        return;
    // It was none that has a number, and the next one gets it.
    mRunning.erase(id);
    mHandOver->answer(order.call, *ending);
}

void Worker::abandon(const HandOver::Call& call)
{
    const auto running = mRunning.find(call->id);
    if (running == mRunning.end() || running->second != call)
        return;
    mRunning.erase(running);
    mAccounts.abandon(call->id);
}

// How the operation ended whose answer is being given.
void Worker::finish(const AnyResult& result, int status)
{
    const auto running = mRunning.find(mAccounts.calls().answered());
    if (running == mRunning.end())
        return;
    const HandOver::Call call = std::move(running->second);
    mRunning.erase(running);
    if (status == ErrorNone) {
        // Its order to take it back is on its way, and finds nothing any more.
        if (!mHandOver->answer(call, {result, nullptr}))
            mAccounts.abandon(call->id);
        return;
    }
    const std::chrono::seconds wait(qMax(0, mAccounts.calls().answerDetails().retryAfterSeconds));
    const auto suggested = suggestedWait(wait, QRandomGenerator::global()->generate());
    mHandOver->answer(call, {nullptr, failureOf(status, suggested, call->id)});
}

template <class... Values, class Make>
void Worker::answerBy(void (Accounts::*signal)(ErrorStatus, Values...), Make make)
{
    QObject::connect(&mAccounts, signal, &mBell,
                     [this, make](ErrorStatus status, Values... values) {
                         // Of a failure, too: what is made takes over what the signal leaves.
                         finish(make(values...), status);
                     });
}

void Worker::connectAnswers()
{
    const auto done = [] { return std::make_shared<const Done>(); };
    answerBy(&Accounts::initializeResponse, done);
    answerBy(&Accounts::requestPasswordResetResponse, done);
    answerBy(&Accounts::updateSecurityQuestionResponse, done);
    answerBy(&Accounts::ensureTokenAvailableResponse, done);
    answerBy(&Accounts::changePasswordResponse, done);
    answerBy(&Accounts::userIdUpdateResponse, done);
    answerBy(&Accounts::resetPasswordUsingSecurityQuestionResponse, done);
    answerBy(&Accounts::closeResponse, done);
    answerBy(&Accounts::signOutResponse, done);
    answerBy(&Accounts::isUserIdAvailableResponse, availability);
    answerBy(&Accounts::isEmailIdAvailableResponse,
             [](bool available) { return availability(available, {}); });
    answerBy(&Accounts::registerAccountResponse, setUp);
    answerBy(&Accounts::signInAndConfigureResponse, setUp);
    answerBy(&Accounts::detectPreAccountResponse, preAccount);
    answerBy(&Accounts::termsOfServiceResponse, terms);
    answerBy(&Accounts::marketingVariantResponse, marketingConsent);
    answerBy(&Accounts::retrievePasswordResetSecQuestionResponse, recoveryQuestion);
    answerBy(&Accounts::retrieveCountryCodeResponse, country);
    answerBy(&Accounts::securityQuestionListResponse, [this](const QVariantMap& questions) {
        return securityQuestions(questions, mAccounts.calls().answerDetails());
    });
    answerBy(&Accounts::downloadProfileResponse, [](ProfileInfo* info) { return profile(info); });
    connectCaptcha();
}

// Two signals for one answer: the first alone tells of a refusal, the second has the identifier.
void Worker::connectCaptcha()
{
    QObject::connect(&mAccounts, &Accounts::captchaImageResponse, &mBell,
                     [this](ErrorStatus status) {
                         const int real = trueStatus(status, mAccounts.calls().answerDetails());
                         if (real != ErrorNone)
                             finish(nullptr, real);
                     });
    QObject::connect(&mAccounts, &Accounts::retrieveCaptchaImageResponse, &mBell,
                     [this](ErrorStatus, const QPixmap&, const QString& id) {
                         finish(captcha(id, mAccounts.calls().answerDetails()), ErrorNone);
                     });
}

} // namespace KelAccount
