// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/failurevalue.h"

#include <kelaccount/statustext.h>

KelQmlFailure::KelQmlFailure(const KelAccount::Failure& failure) : mFailure(failure)
{
}

KelQmlFailure KelQmlFailure::withStatus(int status)
{
    KelAccount::Failure failure;
    failure.status = status;
    failure.name = KelAccount::statusName(status);
    failure.text = KelAccount::statusText(status);
    failure.field = KelAccount::statusField(status);
    failure.isRetryable = KelAccount::isRetryable(status);
    return KelQmlFailure(failure);
}
