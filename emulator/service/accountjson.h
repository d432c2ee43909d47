// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/service/accounts.h"
#include "emulator/service/devices.h"
#include "emulator/service/jsonfields.h"

namespace KelEmulator {

// Accounts as JSON. What reads throws a `Refusal`.

Account accountFrom(Fields& fields);
void addAccount(Accounts& accounts, Account account);
/// By the number itself or by its hash.
PreAccount preAccountFrom(Fields& fields);

/// Without anything secret.
QJsonObject accountJson(const Account& account);
/// With password and answer, as accountFrom() reads it.
QJsonObject wholeAccountJson(const Account& account);
QJsonObject preAccountJson(const PreAccount& preAccount);

} // namespace KelEmulator
