// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply userNameUpdate(const Call& call)
{
    constexpr const char* area = "profileUpdateError";
    const std::string& name = call.document.textOf("username");
    if (!Accounts::isWellFormed(name)) {
        return operationError(400, area, "attributeSyntaxError",
                              "A user name has 1 to 64 letters, digits or . _ - @ +");
    }
    if (!call.account.name.empty())
        return operationError(409, area, "illegalUpdate", "A user name is given once");
    if (call.tables.accounts.state(name) != Accounts::NameState::Free)
        return operationError(409, area, "usernameReserved", "This user name is not free");
    Account account = call.account;
    account.name = name;
    call.tables.accounts.save(account);
    return success("profileUpdateResponse", profileElement("userProfile", account));
}

} // namespace KelEmulator
