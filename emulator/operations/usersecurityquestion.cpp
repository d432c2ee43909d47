// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/securityquestionlist.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

Reply userSecurityQuestion(const Call& call)
{
    const std::string user = withAsciiDomain(call.pathValues.front());
    const std::optional<Account> account = call.tables.accounts.findUser(user);
    if (!account)
        return noSuchUser();
    if (account->questionId.empty())
        return errorReply(404, "resourceNotFound", "The user has no security question");
    const std::string text = securityQuestionText(account->questionId, call.language);
    return success("simplifiedPasswordQuestionResponse",
                   xmlElement("username", user) +
                       xmlElement("passwordQuestionId", account->questionId) +
                       xmlElement("passwordQuestionText", text));
}

} // namespace KelEmulator
