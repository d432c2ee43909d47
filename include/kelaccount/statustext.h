// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <kelaccount/export.h>

#include <QString>

class QLocale;

namespace KelAccount {

// What a program says about a status, also about one that ErrorStatus has no member for. These
// functions may be called on any thread, before there is an application object, too.

/// Symbolic name of a status for logs and bug reports, the same as
/// CommonUtils::ConvertErrorCodeToString().
KELACCOUNT_EXPORT QString statusName(int status);

/// One or two sentences for the user, in the language of the application's locale (QLocale()):
/// English, German, French or Finnish, whichever of the user's languages comes first. English for a
/// user of others. Plain text, without a number. Never empty: 0 has a text, and so has a status
/// that is new to this library.
///
/// The texts are read from files that are installed with the library, when one is first asked for.
/// No translator is installed in the application.
KELACCOUNT_EXPORT QString statusText(int status);
/// The same in the language of a locale.
KELACCOUNT_EXPORT QString statusText(int status, const QLocale& locale);

/// Which of the call's values the service or the library did not like, where the status says it;
/// empty where it does not. One of
///
///     "consumerKey", "consumerSecret"                 of KelAccounts::initialize()
///     "userName", "password", "emailAddress",
///     "dateOfBirth", "captchaText"                    named like RegistrationInfo's properties
///     "oldPassword"                                   of KelAccounts::changePassword()
///
/// "userName" stands for what identifies the user, whatever an operation calls it.
KELACCOUNT_EXPORT QString statusField(int status);

/// Whether the same call may succeed later, with nothing done but waiting: true of a network that
/// is away or a service that is out of order, false of a value that was refused, and of success.
KELACCOUNT_EXPORT bool isRetryable(int status);

} // namespace KelAccount
