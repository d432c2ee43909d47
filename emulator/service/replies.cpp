// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/service/replies.h"

#include "emulator/service/values.h"

namespace KelEmulator {

Reply success(const char* root, std::string_view content)
{
    Reply reply;
    reply.body = xmlDocument(root, content);
    reply.outcome = "done";
    return reply;
}

Reply successWithoutDocument()
{
    Reply reply;
    reply.outcome = "done";
    return reply;
}

std::string elementIfAny(const char* name, const std::string& text)
{
    return text.empty() ? std::string() : xmlElement(name, text);
}

std::string booleanElement(const char* name, bool value)
{
    return xmlElement(name, value ? "true" : "false");
}

std::string enclosed(const char* name, std::string_view content)
{
    return '<' + std::string(name) + '>' + std::string(content) + "</" + name + '>';
}

std::string tokenInfo(const Token& token)
{
    const std::string conditions = xmlElement("ttl", std::to_string(token.secondsToLive())) +
                                   xmlElement("expires", timeText(token.expires));
    const std::string authentication =
        xmlElement("level", "basic") + xmlElement("time", timeText(token.created));
    return enclosed("tokenInfo", xmlElement("token", token.token) +
                                     xmlElement("tokenSecret", token.secret) +
                                     enclosed("conditions", conditions) +
                                     enclosed("authenticationInfo", authentication));
}

std::string userInfo(const Account& account)
{
    return enclosed("userInfo", elementIfAny("username", account.name) +
                                    xmlElement("accountId", account.id()) +
                                    elementIfAny("mobile", account.mobile) +
                                    elementIfAny("email", account.email) +
                                    booleanElement("emailVerified", account.emailVerified) +
                                    booleanElement("mobileVerified", account.mobileVerified));
}

std::string termsFlags(const Account& account)
{
    return booleanElement("hasAcceptedTos", account.hasAcceptedTos) +
           booleanElement("hasAcceptedPrivacyPolicy", account.hasAcceptedPrivacyPolicy) +
           booleanElement("hasAcceptedServiceSpecificTos", account.hasAcceptedServiceTos);
}

std::string profileElement(const char* name, const Account& account)
{
    const std::string birthday =
        account.dateOfBirth.empty() ? std::string() : account.dateOfBirth + 'Z';
    return enclosed(
        name,
        elementIfAny("username", account.name) + xmlElement("accountId", account.id()) +
            elementIfAny("mobile", account.mobile) + elementIfAny("email", account.email) +
            booleanElement("mobileVerified", account.mobileVerified) +
            booleanElement("emailVerified", account.emailVerified) +
            elementIfAny("passwordQuestion", account.questionId) +
            elementIfAny("language", account.language) + elementIfAny("country", account.country) +
            elementIfAny("dateOfBirth", birthday) + elementIfAny("firstName", account.firstName) +
            elementIfAny("lastName", account.lastName) + elementIfAny("gender", account.gender));
}

Reply detailedError(int status, const char* code, const char* detail, std::string_view text)
{
    Reply reply;
    reply.status = status;
    reply.body = xmlDocument("errorResponse",
                             xmlElement("errorCode", code) + xmlElement("errorText", text) +
                                 enclosed("extensions", xmlElement("detailedErrorCode", detail)));
    reply.outcome = detail;
    return reply;
}

Reply operationErrorWith(int status, const char* area, std::string_view content,
                         std::string_view text)
{
    Reply reply;
    reply.status = status;
    reply.body =
        xmlDocument("errorResponse", xmlElement("errorCode", "operationFailed") +
                                         xmlElement("errorText", text) + enclosed(area, content));
    reply.outcome = area;
    return reply;
}

Reply operationError(int status, const char* area, const char* cause, std::string_view text)
{
    Reply reply = operationErrorWith(status, area, xmlElement(cause, text), text);
    reply.outcome = cause;
    return reply;
}

Reply noSuchUser()
{
    return detailedError(404, "operationFailed", "userNotFound", "There is no such user");
}

Reply accountLocked()
{
    return errorReply(403, "accountLocked", "Too many failures; recover the password");
}

Reply contactsReply(const Account& account, const std::vector<Contact>& contacts)
{
    std::string list;
    for (const Contact& contact : contacts) {
        const bool isVerified = contact.isMobile
                                    ? account.mobileVerified && contact.value == account.mobile
                                    : account.emailVerified && contact.value == account.email;
        list +=
            enclosed(contact.isMobile ? "mobileContactOutput" : "emailContactOutput",
                     xmlElement(contact.isMobile ? "mobileNumber" : "emailAddress", contact.value) +
                         booleanElement("preferred", contact.isPreferred) +
                         booleanElement("verified", isVerified));
    }
    return success("contactsUpdateResponse", enclosed("contacts", list));
}

std::optional<Reply> refuseTermsOfOthers(const std::string& identifier, const Account& account)
{
    const bool isNumber = identifier.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && identifier != account.id())
        return errorReply(403, "notAuthorized", "The access token is another account's");
    if (!Accounts::isWellFormed(identifier))
        return errorReply(404, "resourceNotFound", "There is no such service");
    return std::nullopt;
}

} // namespace KelEmulator
