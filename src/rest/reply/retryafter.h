// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>

namespace KelRestHandler {

/// Seconds that the value of a "Retry-After:" header (RFC 9110, 10.2.3) asks to wait, counted from
/// `now` on the server's clock where it names a time; never negative, but -1 for what is neither a
/// number of seconds nor a date in the form that servers are to send (5.6.7), and at most what an
/// int holds.
int retryAfterSeconds(const QByteArray& value, const QDateTime& now);

} // namespace KelRestHandler
