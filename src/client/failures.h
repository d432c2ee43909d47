// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "client/callstate.h"

#include <chrono>

namespace KelAccount {

/// The reason that belongs to a status; of what a call of the orchestrator was answered with, with
/// the number that it has there.
FailureReason failureOf(int status, std::chrono::seconds retryAfter = std::chrono::seconds(0),
                        quint64 call = 0);

} // namespace KelAccount
