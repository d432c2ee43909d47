// SPDX-License-Identifier: LGPL-2.1-or-later
// The templates of Job, for its two source files.
#pragma once

#include "job.h"

#include <kelaccount/errorstatus.h>

#include <cstdlib>

namespace ZorAuth {

template <class Answer>
void Job::exchange(Signal<Answer> signal, const Send& send, const Done<Answer>& done)
{
    if (const auto request = made(send))
        await(signal, request, done);
}

/// Goes on with `done` when the request has its answer.
///
/// A request may be refused because of its time: this process learns the service's clock only from
/// the first reply. That one is worth a second attempt.
template <class Answer>
void Job::await(Signal<Answer> signal, const std::shared_ptr<KelRestHandler::OAuthRequest>& request,
                const Done<Answer>& done)
{
    constexpr int bigDifference = 60;
    const qint64 difference = clock().serverTimeDifference();
    mAwaited = connect(mService.get(), signal, this,
                       [this, signal, request, done, difference](const Answer& answer) {
                           if (answer.requestId != request->getRequestId())
                               return;
                           disconnect(mAwaited);
                           const bool clockMoved = std::llabs(clock().serverTimeDifference() -
                                                              difference) > bigDifference;
                           if (answer.status == KelAccount::ErrorNotAuthorized && clockMoved &&
                               request->RetryCount() == 0 && resend(*request))
                               return await(signal, request, done);
                           done(answer);
                       });
}

/// For an operation that the access token signs: gets one first when there is none.
template <class Answer>
void Job::exchangeWithToken(Signal<Answer> signal, const Send& send, const Done<Answer>& done)
{
    ensureToken([this, signal, send, done] { sendWithToken(signal, send, done); });
}

/// The service may have ended a token early: then it is renewed once and the same request sent
/// again.
template <class Answer>
void Job::sendWithToken(Signal<Answer> signal, const Send& send, const Done<Answer>& done)
{
    const auto request = made(send);
    if (!request)
        return;
    await<Answer>(signal, request, [this, signal, request, done](const Answer& answer) {
        if (answer.status != KelAccount::ErrorInvalidAccessToken)
            return done(answer);
        renewToken([this, signal, request, done] {
            if (!resend(*request))
                return fail(KelAccount::ErrorUnabletoSendRequest);
            await(signal, request, done);
        });
    });
}

} // namespace ZorAuth
