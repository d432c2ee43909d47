// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/securityquestionlist.h"

namespace KelEmulator {

Reply securityQuestions(const Call& call)
{
    std::string questions;
    for (const auto& [id, text] : securityQuestionList(call.language)) {
        questions += enclosed("securityQuestion", xmlElement("securityQuestionId", id) +
                                                      xmlElement("securityQuestionText", text));
    }
    return success("securityQuestionsResponse", questions);
}

} // namespace KelEmulator
