// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

Reply passwordReset(const Call& call)
{
    const auto account = call.tables.accounts.findUser(withAsciiDomain(call.pathValues.front()));
    if (!account)
        return noSuchUser();
    Account changed = *account;
    const std::string& token = call.document.textOf("securityToken");
    if (!call.tables.recovery.isValid(token, changed.key, call.now))
        return errorReply(401, "notAuthorized", "The security token is not valid");
    // Who has no question has nothing to answer.
    if (!changed.questionId.empty() &&
        call.document.textOf("passwordQuestionAnswer") != changed.answer) {
        ++changed.failures;
        call.tables.accounts.save(changed);
        if (!changed.isLocked())
            return errorReply(401, "notAuthorized", "The answer is another one");
        // Only another message lets the user try again.
        call.tables.recovery.remove(token);
        return accountLocked();
    }
    const std::string password =
        base64Decoded(call.document.textOf("newPassword")).value_or(std::string());
    if (!isPassword(password))
        return errorReply(400, "attributeSyntaxError", "A password has 4 to 128 bytes");

    changed.password = password;
    changed.failures = 0;
    call.tables.accounts.save(changed);
    call.tables.recovery.remove(token);
    return success("simplifiedChangePasswordResponse", {});
}

} // namespace KelEmulator
