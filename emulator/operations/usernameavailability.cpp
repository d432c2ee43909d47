// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/accounts.h"
#include "emulator/service/operation.h"
#include "emulator/service/store.h"

namespace KelEmulator {

namespace {

constexpr const char* responseRoot = "userNameAvailabilityResponse";
constexpr size_t suggestionCount = 3;

} // namespace

Reply userNameAvailability(const Call& call)
{
    const std::string& name = call.pathValues.front();
    if (!Accounts::isWellFormed(name)) {
        return errorReply(400, "attributeSyntaxError",
                          "A user name has 1 to 64 letters, digits or . _ - @ +");
    }

    Reply reply;
    switch (call.tables.accounts.state(name)) {
    case Accounts::NameState::Reserved:
        return errorReply(409, "usernameReserved", "This user name is reserved");
    case Accounts::NameState::Free:
        reply.body = xmlDocument(responseRoot, {});
        reply.outcome = "free";
        break;
    case Accounts::NameState::Taken: {
        // The root of a success with a status that is none: clients read the suggestions from it.
        std::string suggestions = "<userNameSuggestions>";
        for (const std::string& suggestion :
             call.tables.accounts.suggestions(name, suggestionCount))
            suggestions += xmlElement("userNameSuggestion", suggestion);
        suggestions += "</userNameSuggestions>";
        reply.status = 422;
        reply.body = xmlDocument(responseRoot, suggestions);
        reply.outcome = "taken";
        break;
    }
    }
    return reply;
}

} // namespace KelEmulator
