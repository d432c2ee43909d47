// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply contactsQuery(const Call& call)
{
    return contactsReply(call.account, call.tables.contacts.list(call.account.key));
}

} // namespace KelEmulator
