// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "commands.h"

/// Has the answer to the command's operation reported: what the signal carries that the facade
/// declares for it, by the names that the command's fields have.
void reportAnswer(KelAccount::KelAccounts& accounts, const ClientCommand& command,
                  const Report& report);

/// What a command shows of a profile.
std::vector<Field> profileFields();
