// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/callid.h"
#include "account/kelaccountsprivate.h"
#include "client/handover.h"

#include <memory>
#include <unordered_map>

namespace KelAccount {

/// What a client has on its own thread: performs the calls that are handed over, and hands back how
/// they ended.
class Worker
{
public:
    explicit Worker(std::shared_ptr<HandOver> handOver);
    ~Worker();
    Q_DISABLE_COPY(Worker)

private:
    void connectAnswers();
    void connectCaptcha();
    template <class... Values, class Make>
    void answerBy(void (KelAccountsPrivate::*signal)(ErrorStatus, Values...), Make make);

    void onRing();
    void perform(HandOver::Order& order, const HandOver::Call& before);
    void abandon(const HandOver::Call& call);
    void finish(const AnyResult& result, int status);

    const std::shared_ptr<HandOver> mHandOver;
    std::unordered_map<CallId, HandOver::Call> mRunning;
    Doorbell mBell;
    KelAccountsPrivate mAccounts;
};

} // namespace KelAccount
