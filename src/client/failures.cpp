// SPDX-License-Identifier: LGPL-2.1-or-later
#include "client/failures.h"

#include <kelaccount/statustext.h>

namespace KelAccount {

FailureReason failureOf(int status, std::chrono::seconds retryAfter)
{
    Failure failure;
    failure.status = status;
    failure.name = statusName(status);
    failure.text = statusText(status);
    failure.field = statusField(status);
    failure.isRetryable = isRetryable(status);
    failure.retryAfter = retryAfter;
    return std::make_shared<const Failure>(std::move(failure));
}

} // namespace KelAccount
