// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

Reply passwordChange(const Call& call)
{
    const std::string& encoded = call.document.children.front().textOf("password");
    const std::string password = base64Decoded(encoded).value_or(std::string());
    if (!isPassword(password)) {
        return operationError(400, "profileUpdateError", "attributeSyntaxError",
                              "A password has 4 to 128 bytes");
    }
    Account account = call.account;
    account.password = password;
    call.tables.accounts.save(account);
    return success("profileUpdateResponse", profileElement("userProfile", account));
}

} // namespace KelEmulator
