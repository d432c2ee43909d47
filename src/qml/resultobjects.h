// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/results.h>

#include <QJSValue>
#include <QVariantMap>

#include <optional>

class QJSEngine;
class QObject;

/// What calls give, as values of a script: plain objects whose properties have the names of the
/// results' fields.
namespace KelQmlResults {

QJSValue value(QJSEngine& engine, const KelAccount::Done& result);
QJSValue value(QJSEngine& engine, const KelAccount::Availability& result);
QJSValue value(QJSEngine& engine, const KelAccount::Captcha& result);
QJSValue value(QJSEngine& engine, const KelAccount::SetUp& result);
QJSValue value(QJSEngine& engine, const KelAccount::Profile& result);
QJSValue value(QJSEngine& engine, const KelAccount::Terms& result);
QJSValue value(QJSEngine& engine, const KelAccount::SecurityQuestions& result);
QJSValue value(QJSEngine& engine, const KelAccount::RecoveryQuestion& result);
QJSValue value(QJSEngine& engine, const KelAccount::PreAccount& result);
QJSValue value(QJSEngine& engine, const KelAccount::Country& result);
QJSValue value(QJSEngine& engine, const KelAccount::MarketingConsent& result);
QJSValue value(QJSEngine& engine, const KelAccount::CaptchaRequirement& result);
QJSValue value(QJSEngine& engine, const KelAccount::DeviceAccountState& result);

QVariantMap object(const KelAccount::SetUp& result);

/// A date as ISO 8601 writes it, and empty for none. A script's Date is a moment, which is another
/// day in another time zone.
QString isoDate(const QDate& date);

/// Reads such a date. Nothing is a date, too: an invalid one; what is no date gives none.
std::optional<QDate> dateOf(const QString& text);

/// Reads what a script filled in, and gives nothing when its date of birth is none. A property that
/// is none of a registration's is warned of, by `asking`.
std::optional<KelAccount::Registration> registration(const QVariantMap& fields, QObject* asking);

} // namespace KelQmlResults
