// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/failures.h"

#include "account/recording/recordedcalls.h"
#include "client/laterfields.h"

#include <kelaccount/flightrecorder.h>
#include <kelaccount/statustext.h>

namespace KelAccount {

FailureReason failureOf(int status, std::chrono::seconds retryAfter, quint64 call)
{
    Failure failure;
    failure.status = status;
    failure.name = statusName(status);
    failure.text = statusText(status);
    failure.field = statusField(status);
    failure.isRetryable = isRetryable(status);
    failure.retryAfter = retryAfter;
    if (call != 0)
        failure.later = std::make_shared<const LaterFields>(call);
    return std::make_shared<const Failure>(std::move(failure));
}

QString recordedId(const Failure& failure)
{
    return failure.later ? recordedNumber(failure.later->call) : QString();
}

} // namespace KelAccount
