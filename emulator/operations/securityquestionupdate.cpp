// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/profilerules.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"

namespace KelEmulator {

Reply securityQuestionUpdate(const Call& call)
{
    constexpr const char* area = "profileUpdateError";
    const XmlElement& user = call.document.children.front();
    if (user.children.empty())
        return operationError(400, area, "attributeSyntaxError", "There is nothing to update");
    Account account = call.account;
    if (const XmlElement* question = user.child("passwordQuestion"))
        account.questionId = question->text;
    if (const XmlElement* answer = user.child("passwordAnswer"))
        account.answer = answer->text;
    const std::string problem = profileProblem(account);
    if (!problem.empty())
        return operationError(400, area, "attributeSyntaxError", problem);
    call.tables.accounts.save(account);
    return success("profileUpdateResponse", profileElement("userProfile", account));
}

} // namespace KelEmulator
