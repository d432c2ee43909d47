// SPDX-License-Identifier: LGPL-2.1-or-later
// What the administrative endpoint reads from and writes into the tables.
#pragma once

#include "emulator/common/clock.h"
#include "emulator/service/store.h"

#include <string>
#include <vector>

namespace KelEmulator {

/// The lines of a body that say something.
std::vector<std::string> linesOf(const std::string& body);

/// Makes accounts: a JSON object or an array of them, or names, one a line. False, and why in
/// `problem`, with nothing made.
bool addAccounts(Store& store, const std::string& body, std::string& problem);

/// Makes pre-accounts from a JSON object or an array of them.
bool addPreAccounts(Store& store, const std::string& body, std::string& problem);

/// Reads "MSIN[,USERNAME[,MOBILE[,COUNTRY]]]". Nothing, and why in `problem`, for anything else.
std::optional<PreAccount> readPreAccount(const std::string& text, std::string& problem);

/// The accounts without anything secret.
std::string accountsJson(Store& store);

/// Moves the clock: a JSON object with "skew" or "time", and "speed". False, and why in `problem`.
bool setClock(Clock& clock, const std::string& body, std::string& problem);
std::string clockJson(const Clock& clock);

/// The account of a number, a user name, an address or a mobile number; nothing for any other.
std::optional<Account> findAccount(Tables& tables, const std::string& user);
/// Changes an account by the fields of a JSON object. False, and why in `problem`, with nothing
/// changed.
bool changeAccount(Store& store, const std::string& user, const std::string& body,
                   std::string& problem);
bool deleteAccount(Store& store, const std::string& user, std::string& problem);
/// One account without anything secret; empty when there is none.
std::string accountText(Store& store, const std::string& user);
/// The captchas that can still be solved.
std::string captchasJson(Store& store, std::int64_t now);

/// The service's table of operations: number, verb and path.
std::string operationsJson();
/// What faults can be ordered; a value stands behind "=".
std::string knownFaultsJson();

/// The messages to a name or a recipient; all of them for an empty name.
std::string inboxJson(Store& store, const std::string& name);

} // namespace KelEmulator
