// SPDX-License-Identifier: LGPL-2.1-or-later
#include "rest/reply/msgparser.h"

#include "rest/reply/elementreading.h"
#include "rest/reply/replydocument.h"
#include "rest/reply/responseroots.h"

#include <kelaccount/errorstatus.h>

#include <algorithm>
#include <iterator>

namespace KelRestHandler {

namespace {

using namespace KelAccount;

// The user name is reserved; a status without a name.
constexpr int usernameReservedStatus = 512;

struct StatusRow
{
    const char* text;
    int status;
};

// A code that is not here is ErrorGeneralError, "generalError" among them.
constexpr StatusRow errorCodes[] = {
    {"invalidAccessToken", ErrorInvalidAccessToken},
    {"illegalRequestMethod", ErrorIllegalRequestMethod},
    {"unknownContentType", ErrorUnknownContentType},
    {"invalidUrl", ErrorInvalidUrl},
    {"notAuthorized", ErrorNotAuthorized},
    {"invalidMessageFormat", ErrorInvalidMessageFormat},
    {"resourceNotFound", ErrorResourceNotFound},
    {"operationFailed", ErrorOperationFailed},
    {"userPreregistered", ErrorUserPreregistered},
    {"accountLocked", ErrorAccountLocked},
    {"contactUpdate", ErrorContactUpdate},
    {"usernameReserved", usernameReservedStatus},
    {"captchaError", ErrorCaptchaError},
    {"attributeSyntaxError", ErrorAttributeSyntaxError},
};

constexpr StatusRow operationErrors[] = {
    {"illegalUpdate", ErrorIllegalUpdate},
    {"usernameReserved", usernameReservedStatus},
    {"captchaError", ErrorCaptchaError},
    {"serviceTagError", ErrorServicetagError},
    {"attributeSyntaxError", ErrorAttributeSyntaxError},
};

constexpr StatusRow ageVerificationMethods[] = {
    {"SIMPLECONSENT", ErrorAgeVerificationSimpleConsent},
    {"DISALLOWED", ErrorAgeVerificationDisallowed},
};

constexpr StatusRow detailedErrorCodes[] = {
    {"emailAddressReserved", ErrorEmailAddressReserved},
    {"invalidServiceTag", ErrorInvalidServiceTag},
    {"invalidCaptcha", ErrorInvalidCaptcha},
    {"invalidContact", ErrorInvalidContact},
    {"userNotFound", ErrorUserNotFound},
    {"emailSendingFailed", ErrorEmailSendingFailed},
    {"smsSendingFailed", ErrorSMSendingFailed},
};

// The row's status, or null for a text without a row.
template <size_t count>
const int* findStatus(const StatusRow (&rows)[count], const QString& text)
{
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [&](const StatusRow& candidate) {
            return text == QLatin1String(candidate.text);
        });
    return row == std::end(rows) ? nullptr : &row->status;
}

// Whether "Error" or "error" stands anywhere in the text. Searching twice would cost a sixth of
// loading the document. Both spellings have a double "r", which is rare, and looking for that in a
// whole chunk without a branch per character lets the compiler compare many characters at a time.
bool mentionsError(const QString& xml)
{
    constexpr int chunkLength = 512;
    const ushort* const text = xml.utf16();
    const int lastPair = xml.size() - 1;
    for (int start = 0; start < lastPair; start += chunkLength) {
        const int end = std::min(start + chunkLength, lastPair);
        unsigned doubleR = 0;
        for (int i = start; i < end; ++i)
            doubleR |= static_cast<unsigned>(text[i] == 'r') & (text[i + 1] == 'r');
        if (doubleR == 0)
            continue;
        const QStringView around = QStringView(xml).mid(std::max(start - 1, 0), chunkLength + 4);
        if (around.contains(QLatin1String("Error")) || around.contains(QLatin1String("error")))
            return true;
    }
    return false;
}

void setAgeVerificationStatus(RequestInfoData& info, const QDomNode& node)
{
    const QDomNodeList methods =
        node.toElement().elementsByTagName(QStringLiteral("ageVerificationMethod"));
    for (int i = 0; i < methods.size(); ++i) {
        const QString text = elementText(methods.at(i));
        if (const int* status = findStatus(ageVerificationMethods, text)) {
            info.statusCode = *status;
            info.errorText = text;
        }
    }
}

constexpr ChildReader<RequestInfoData> operationExtensions[] = {
    {"errorCode", [](RequestInfoData& info, const QDomNode&) { info.statusCode = ErrorTooYoung; }},
    {"errorText",
     [](RequestInfoData& info, const QDomNode& child) { info.errorText = elementText(child); }},
    {"ageVerificationNeeded", setAgeVerificationStatus},
};

void parseOperationError(RequestInfoData& info, const QDomNode& child)
{
    MsgParser::parseErrorSubNode(info, child);
}

constexpr ChildReader<RequestInfoData> errorElements[] = {
    {"errorCode",
     [](RequestInfoData& info, const QDomNode& child) {
         MsgParser::convertStringToEnum(info.statusCode, elementText(child));
     }},
    {"errorText",
     [](RequestInfoData& info, const QDomNode& child) { info.errorText = elementText(child); }},
    {"contactUpdateError",
     [](RequestInfoData& info, const QDomNode& child) {
         info.statusCode = ErrorContactUpdate;
         MsgParser::parseErrorSubNode(info, child);
     }},
    {"registrationError", parseOperationError},
    {"profileUpdateError", parseOperationError},
    {"guardianValidationError", parseOperationError},
    {"phoneActivationRegistrationError", parseOperationError},
    {"extensions", [](RequestInfoData& info,
                      const QDomNode& child) { MsgParser::parseDetailedErrorCode(info, child); }},
};

} // namespace

QDomNode MsgParser::processXml(RequestInfoData& info, const QString& xml)
{
    const QDomDocument document = loadReply(xml);
    for (QDomNode node = document.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (!node.isElement())
            continue;
        if (mentionsError(xml)) {
            info.statusCode = ErrorUndefined;
            return node;
        }
        if (isResponseRoot(node.nodeName()))
            return node;
    }
    return {};
}

void MsgParser::parseErrorxml(RequestInfoData& info, const QDomNode& errorElement)
{
    readChildren(errorElement, errorElements, info);
}

void MsgParser::convertStringToEnum(int& code, const QString& errorCodeText)
{
    const int* status = findStatus(errorCodes, errorCodeText);
    code = status ? *status : ErrorGeneralError;
}

void MsgParser::parseErrorSubNode(RequestInfoData& info, const QDomNode& node)
{
    forEachChild(node, [&](const QDomNode& child, const QString& tag) {
        if (tag == QLatin1String("extensions")) {
            readChildren(child, operationExtensions, info);
        } else if (const int* status = findStatus(operationErrors, tag)) {
            info.statusCode = *status;
            info.errorText = elementText(child);
        }
    });
}

void MsgParser::parseDetailedErrorCode(RequestInfoData& info, const QDomNode& node)
{
    if (node.nodeName() != QLatin1String("extensions"))
        return;
    forEachChild(node, [&](const QDomNode& child, const QString& tag) {
        if (tag != QLatin1String("detailedErrorCode"))
            return;
        if (const int* status = findStatus(detailedErrorCodes, elementText(child)))
            info.statusCode = *status;
    });
}

} // namespace KelRestHandler
