// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/percentencoding.h"
#include "emulator/service/humanproof.h"
#include "emulator/service/operation.h"
#include "emulator/service/replies.h"
#include "emulator/service/store.h"
#include "emulator/service/values.h"

namespace KelEmulator {

namespace {

bool endsWith(const std::string& text, std::string_view end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Where the message goes: to the number when the user was named by it or has no address.
std::string recipientOf(const Account& account, const std::string& user)
{
    return account.email.empty() || (!account.mobile.empty() && user == account.mobile)
               ? account.mobile
               : account.email;
}

std::string messageText(const XmlElement& document, const std::string& token)
{
    if (document.child("sendPlainToken"))
        return token;
    const std::string& body = document.textOf("messageBody");
    std::string text = body.empty() ? "Somebody asked to recover your password." : body;
    const std::string& returnUrl = document.textOf("returnUrl");
    if (!returnUrl.empty()) {
        const char* const separator = returnUrl.find('?') == std::string::npos ? "?" : "&";
        text += '\n' + returnUrl + separator + "token=" + percentEncode(token);
    }
    return text + '\n' + token;
}

} // namespace

Reply recoveryMessage(const Call& call)
{
    switch (humanProof(call)) {
    case HumanProof::Good:
        break;
    case HumanProof::None:
        return errorReply(400, "captchaError", "Send a solved captcha or a service tag");
    case HumanProof::WrongCaptcha:
        return detailedError(400, "operationFailed", "invalidCaptcha", "That is not the text");
    case HumanProof::WrongServiceTag:
        return detailedError(400, "operationFailed", "invalidServiceTag", "No such service tag");
    }
    const std::string user = withAsciiDomain(call.pathValues.front());
    const std::optional<Account> account = call.tables.accounts.findUser(user);
    if (!account)
        return noSuchUser();

    const std::string recipient = recipientOf(*account, user);
    if (recipient.empty())
        return detailedError(409, "operationFailed", "invalidContact", "The user has no address");
    // So that clients can be shown what happens then.
    if (endsWith(recipient, "@unreachable.example"))
        return detailedError(502, "operationFailed", "emailSendingFailed", "The mail came back");
    if (recipient.rfind("+999", 0) == 0)
        return detailedError(502, "operationFailed", "smsSendingFailed", "No such number");

    const std::string token = call.tables.recovery.createToken(account->key, call.now);
    call.tables.recovery.deliver({account->name.empty() ? account->id() : account->name, recipient,
                                  messageText(call.document, token), token, call.now});
    return successWithoutDocument();
}

} // namespace KelEmulator
