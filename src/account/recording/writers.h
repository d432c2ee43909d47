// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "account/recording/recordedcalls.h"

#include <QByteArray>

namespace KelAccount {

/// HAR 1.2: an entry for each request, and one for each call that made none.
QByteArray harOf(const std::vector<RecordedCall>& calls, qint64 now);

/// Trace events in JSON: each call with its stages on a line of its own, nested.
QByteArray traceOf(const std::vector<RecordedCall>& calls, qint64 now);

} // namespace KelAccount
