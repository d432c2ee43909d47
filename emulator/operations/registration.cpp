// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/humanproof.h"
#include "emulator/service/operation.h"
#include "emulator/service/profilerules.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

namespace {

constexpr int childrensAge = 13;
constexpr int ageOfConsent = 16;

Account accountFrom(const XmlElement& document)
{
    const XmlElement& user = *document.child("userData");
    const XmlElement& consent = *document.child("marketingConsent");
    Account account;
    account.name = document.textOf("username");
    account.password = base64Decoded(user.textOf("password")).value_or(std::string());
    account.mobile = user.textOf("mobile");
    account.email = user.textOf("email");
    account.questionId = user.textOf("passwordQuestion");
    account.answer = user.textOf("passwordAnswer");
    account.language = user.textOf("language");
    account.country = user.textOf("country");
    account.dateOfBirth = user.textOf("dateOfBirth");
    account.firstName = user.textOf("firstName");
    account.lastName = user.textOf("lastName");
    account.marketingByEmail = consent.isTrue("email");
    account.marketingByMobile = consent.isTrue("mobile");
    return account;
}

/// Why a captcha or a service tag is not accepted; nothing when it is.
std::optional<Reply> refuseProof(const Call& call, const char* area)
{
    switch (humanProof(call)) {
    case HumanProof::Good:
        break;
    case HumanProof::None:
        return operationError(400, area, "captchaError", "Send a captcha or a service tag");
    case HumanProof::WrongCaptcha:
        return operationError(400, area, "captchaError", "That is not the text");
    case HumanProof::WrongServiceTag:
        return operationError(400, area, "serviceTagError", "No such service tag");
    }
    return std::nullopt;
}

/// Why an attribute is not accepted; nothing when all are.
std::string attributeProblem(const Account& account)
{
    if (account.name.empty() && account.email.empty())
        return "A user name or an e-mail address is needed";
    if (account.email.empty() && account.mobile.empty())
        return "A user name without an e-mail address needs a mobile number";
    if (!account.name.empty() && !Accounts::isWellFormed(account.name))
        return "A user name has 1 to 64 letters, digits or . _ - @ +";
    if (!isPassword(account.password))
        return "A password has 4 to 128 bytes";
    return profileProblem(account);
}

std::optional<Reply> refuseAge(const Call& call, const Account& account, const char* area)
{
    if (account.dateOfBirth.empty())
        return std::nullopt;
    const int age = yearsBetween(account.dateOfBirth, call.now);
    if (age < 0)
        return operationError(400, area, "attributeSyntaxError", "The birthday lies ahead");
    if (age < childrensAge) {
        Reply reply = operationErrorWith(
            403, area,
            enclosed("extensions", xmlElement("errorCode", "TooYoung") +
                                       xmlElement("errorText", "Not before the age of 13")),
            "Too young");
        reply.outcome = "too young";
        return reply;
    }
    if (age < ageOfConsent) {
        // Some countries leave it to the parents, some do not.
        const char* const method = account.country == "US" ? "DISALLOWED" : "SIMPLECONSENT";
        Reply reply = operationErrorWith(
            403, area,
            enclosed("extensions", enclosed("ageVerificationNeeded",
                                            xmlElement("ageVerificationMethod", method))),
            "Somebody of age has to consent");
        reply.outcome = method;
        return reply;
    }
    return std::nullopt;
}

std::optional<Reply> refuseTaken(const Call& call, const Account& account, const char* area)
{
    Accounts& accounts = call.tables.accounts;
    if (!account.name.empty() && accounts.state(account.name) != Accounts::NameState::Free)
        return operationError(409, area, "usernameReserved", "This user name is not free");
    if (accounts.hasEmail(account.email)) {
        return detailedError(409, "operationFailed", "emailAddressReserved",
                             "An account has this address");
    }
    return std::nullopt;
}

/// Why the service turns a registration down; nothing when it does not. `area` is the operation's
/// own error element.
std::optional<Reply> refuse(const Call& call, const Account& account, const char* area)
{
    if (auto reply = refuseProof(call, area))
        return reply;
    const std::string problem = attributeProblem(account);
    if (!problem.empty())
        return operationError(400, area, "attributeSyntaxError", problem);
    if (auto reply = refuseAge(call, account, area))
        return reply;
    return refuseTaken(call, account, area);
}

Reply registered(const Call& call, Account account, const char* root)
{
    if (!call.tables.accounts.insert(account))
        return errorReply(500, "generalError", "The account cannot be written");
    const Token token = call.tables.tokens.create(account.key, call.now);
    if (const XmlElement* serial = call.document.child("mobilePhoneSerialNumber")) {
        const std::string& hash = call.document.textOf("hashedMSIN");
        const auto preAccount = call.tables.devices.findPreAccount(hash);
        call.tables.devices.save(account.key, {serial->text, call.document.textOf("mcc"),
                                               call.document.textOf("mnc"), hash,
                                               preAccount ? preAccount->id : std::string()});
    }
    return success(root, userInfo(account) + tokenInfo(token));
}

} // namespace

Reply registration(const Call& call)
{
    const Account account = accountFrom(call.document);
    const auto refusal = refuse(call, account, "registrationError");
    return refusal ? *refusal : registered(call, account, "registrationResponse");
}

Reply phoneActivation(const Call& call)
{
    const Account account = accountFrom(call.document);
    if (const auto refusal = refuse(call, account, "phoneActivationRegistrationError"))
        return *refusal;
    const auto preAccount = call.tables.devices.findPreAccount(call.document.textOf("hashedMSIN"));
    if (preAccount && call.tables.devices.isActivated(preAccount->id))
        return errorReply(409, "userPreregistered", "This subscriber has an account");
    return registered(call, account, "phoneActivationRegistrationResponse");
}

} // namespace KelEmulator
