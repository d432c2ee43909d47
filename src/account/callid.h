// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/reply/answerdetails.h"

#include <QtGlobal>

namespace KelAccount {

/// Which call of the orchestrator's operations something is about. Numbers are not used again in
/// this process; 0 is no call.
using CallId = quint64;

using KelRestHandler::AnswerDetails;

} // namespace KelAccount
