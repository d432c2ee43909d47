// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/records/profileinfodata.h"

#include <QDate>
#include <QDateTime>
#include <QDomNode>
#include <QLocale>
#include <QString>

namespace KelRestHandler {

// What the text of an element means, where that takes more than a line.

/// Null when it is no time.
QDateTime elementTime(const QDomNode& element);
/// Null when it is no date.
QDate elementDate(const QDomNode& element);

/// As LocaleUtils::codeToLanguage() and codeToCountry() answer, and faster.
QLocale::Language languageOf(const QString& code);
QLocale::Country countryOf(const QString& code);

/// "MALE" or "FEMALE" in any letter case; anything else changes nothing.
void setGender(Gender& gender, const QString& text);

/// A code of two letters in any letter case; anything else changes nothing. Qt answers every
/// unknown code with some country; only one whose code is the text is meant.
void setCountry(QLocale::Country& country, const QString& text);

} // namespace KelRestHandler
