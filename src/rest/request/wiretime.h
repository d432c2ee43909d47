// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>

namespace KelRestHandler {

// Dates and times as they stand on the wire: digits and month names are those of the protocol, and
// times are UTC, whatever the user's language and time zone. All dates and times to and from the
// service go through here, since the usual functions of QDate and QDateTime do not do that: they
// write the locale's digits, and an hour that the local zone leaves out in spring is no time to
// them.

/// "yyyy-MM-dd"; empty for an invalid date.
QString wireDate(const QDate& date);

/// Reads "yyyy-MM-ddZ"; null for anything else.
QDate dateOnWire(const QString& text);

/// Reads "yyyy-MM-ddThh:mm:ss.zzzZ", as UTC; invalid for anything else.
QDateTime timeOnWire(const QString& text);

/// Reads the value of a "Date:" header without its zone, "ddd, dd MMM yyyy HH:mm:ss", as UTC;
/// invalid for anything else.
QDateTime headerTimeOnWire(const QString& text);

} // namespace KelRestHandler
