// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/operation.h"
#include "emulator/service/profilerules.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

namespace {

constexpr const char* area = "profileUpdateError";

/// An element that is not there leaves its attribute as it is; an empty one empties it.
Account updated(Account account, const XmlElement& user)
{
    const std::string email = withAsciiDomain(user.textOf("email"));
    account.emailVerified = account.emailVerified && email == account.email;
    account.email = email;
    account.mobileVerified = account.mobileVerified && user.textOf("mobile") == account.mobile;
    account.mobile = user.textOf("mobile");
    account.firstName = user.textOf("firstName");
    account.lastName = user.textOf("lastName");
    const auto take = [&user](const char* name, std::string& to) {
        if (const XmlElement* element = user.child(name))
            to = element->text;
    };
    take("language", account.language);
    take("country", account.country);
    take("dateOfBirth", account.dateOfBirth);
    take("gender", account.gender);
    return account;
}

} // namespace

Reply profileUpdate(const Call& call)
{
    const Account account = updated(call.account, call.document.children.front());
    if (account.name.empty() && account.email.empty()) {
        return operationError(409, area, "illegalUpdate",
                              "The address is all that the account is known by");
    }
    const std::string problem = profileProblem(account);
    if (!problem.empty())
        return operationError(400, area, "attributeSyntaxError", problem);
    const auto owner = call.tables.accounts.findEmail(account.email);
    if (owner && owner->key != account.key) {
        return detailedError(409, "operationFailed", "emailAddressReserved",
                             "An account has this address");
    }
    call.tables.accounts.save(account);
    return success("profileUpdateResponse", profileElement("userProfile", account));
}

} // namespace KelEmulator
