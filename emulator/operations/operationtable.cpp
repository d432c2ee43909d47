// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/percentencoding.h"
#include "emulator/service/layouts.h"
#include "emulator/service/operation.h"

#include <iterator>

namespace KelEmulator {

// One source file each; 5 has two of them.
Reply tokenCreation(const Call& call);
Reply tokenRefresh(const Call& call);
Reply userNameAvailability(const Call& call);
Reply captchaCreation(const Call& call);
Reply registration(const Call& call);
Reply phoneActivation(const Call& call);
Reply securityQuestions(const Call& call);
Reply autoDetection(const Call& call);
Reply serviceQuery(const Call& call);
Reply tokenDeletion(const Call& call);
Reply recoveryMessage(const Call& call);
Reply emailAvailability(const Call& call);
Reply consentVariant(const Call& call);
Reply passwordReset(const Call& call);
Reply userSecurityQuestion(const Call& call);
Reply passwordChange(const Call& call);
Reply marketingConsentQuery(const Call& call);
Reply marketingConsentUpdate(const Call& call);
Reply contactsQuery(const Call& call);
Reply contactsUpdate(const Call& call);
Reply termsQuery(const Call& call);
Reply termsUpdate(const Call& call);
Reply profileQuery(const Call& call);
Reply profileUpdate(const Call& call);
Reply securityQuestionUpdate(const Call& call);
Reply userNameUpdate(const Call& call);
Reply devicesUpdate(const Call& call);

namespace {

constexpr std::string_view servicePath = "/rest/1.0/";

bool isUserNameUpdate(const XmlElement& document)
{
    return document.child("username");
}

/// What the first piece of a profile update's user data is.
std::string_view firstOfUserData(const XmlElement& document)
{
    const XmlElement* const user = document.child("userData");
    return user && !user->children.empty() ? std::string_view(user->children.front().name)
                                           : std::string_view();
}

bool isPasswordChange(const XmlElement& document)
{
    return firstOfUserData(document) == "password";
}

bool isSecurityQuestionUpdate(const XmlElement& document)
{
    const std::string_view first = firstOfUserData(document);
    return first.empty() || first == "passwordQuestion" || first == "passwordAnswer";
}

constexpr const char* profilePath = "accounts/{id}/profile";
constexpr const char* recoverySend = "simplifiedpasswordrecovery/{user}/send";
constexpr const char* recoveryChange = "simplifiedpasswordrecovery/{user}/change";
constexpr const char* recoveryQuestion = "simplifiedpasswordrecovery/{user}/question";
constexpr const char* activationPath = "phoneactivationregistration";
constexpr bool token = true;
constexpr bool noToken = false;
constexpr const Layout* noDocument = nullptr;

// clang-format off
const Operation operations[] = {
    {1, noToken, "POST", "tokens", &Layouts::tokenCreation, tokenCreation},
    {2, token, "PUT", "tokens/{token}", noDocument, tokenRefresh},
    {3, noToken, "GET", "availability/{name}", noDocument, userNameAvailability},
    {4, noToken, "POST", "captchas", &Layouts::captchaCreation, captchaCreation},
    {5, noToken, "POST", "accounts", &Layouts::registration, registration},
    {5, noToken, "POST", activationPath, &Layouts::phoneActivation, phoneActivation},
    {6, noToken, "GET", "securityquestions", noDocument, securityQuestions},
    {7, noToken, "POST", "autodetection", &Layouts::autoDetection, autoDetection},
    {8, noToken, "GET", "services/{service}", noDocument, serviceQuery},
    {9, token, "DELETE", "tokens/{token}", noDocument, tokenDeletion},
    {10, noToken, "POST", recoverySend, &Layouts::recoveryMessage, recoveryMessage},
    {11, noToken, "POST", "emailavailability/", &Layouts::emailAvailability, emailAvailability},
    {12, noToken, "POST", "consentqueryvariant", &Layouts::consentVariant, consentVariant},
    {13, noToken, "PUT", recoveryChange, &Layouts::passwordReset, passwordReset},
    {14, noToken, "GET", recoveryQuestion, noDocument, userSecurityQuestion},
    {16, token, "GET", "accounts/{id}/marketing", noDocument, marketingConsentQuery},
    {17, token, "PUT", "accounts/{id}/marketing", &Layouts::marketingConsent,
     marketingConsentUpdate},
    {18, token, "GET", "accounts/{id}/contacts", noDocument, contactsQuery},
    {19, token, "PUT", "accounts/{id}/contacts", &Layouts::contactsUpdate, contactsUpdate},
    {20, token, "GET", "terms/{identifier}", noDocument, termsQuery},
    {21, token, "POST", "terms/{identifier}", &Layouts::termsUpdate, termsUpdate},
    {22, token, "GET", profilePath, noDocument, profileQuery},
    {25, token, "PUT", profilePath, &Layouts::userNameUpdate, userNameUpdate, isUserNameUpdate},
    {15, token, "PUT", profilePath, &Layouts::passwordChange, passwordChange, isPasswordChange},
    {24, token, "PUT", profilePath, &Layouts::securityQuestionUpdate, securityQuestionUpdate,
     isSecurityQuestionUpdate},
    {23, token, "PUT", profilePath, &Layouts::profileUpdate, profileUpdate},
    {26, token, "POST", "accounts/{id}/devices", &Layouts::devicesUpdate, devicesUpdate},
};
// clang-format on

std::string_view nextPiece(std::string_view& path)
{
    const size_t end = path.find('/');
    const std::string_view piece = path.substr(0, end);
    path = end == std::string_view::npos ? std::string_view() : path.substr(end);
    return piece;
}

bool matches(std::string_view pattern, std::string_view path, std::vector<std::string>& values)
{
    values.clear();
    for (;;) {
        const std::string_view wanted = nextPiece(pattern);
        const std::string_view got = nextPiece(path);
        if (!wanted.empty() && wanted.front() == '{')
            values.push_back(percentDecode(got));
        else if (percentDecode(got) != wanted)
            return false;
        if (pattern.empty() || path.empty())
            return pattern.empty() && path.empty();
        pattern.remove_prefix(1);
        path.remove_prefix(1);
    }
}

} // namespace

Route findOperation(std::string_view verb, std::string_view rawPath)
{
    Route route;
    if (rawPath.substr(0, servicePath.size()) != servicePath)
        return route;
    rawPath.remove_prefix(servicePath.size());
    for (const Operation& operation : operations) {
        std::vector<std::string> values;
        if (!matches(operation.path, rawPath, values))
            continue;
        if (verb != operation.verb) {
            route.result = Route::Result::WrongVerb;
            continue;
        }
        route.result = Route::Result::Found;
        route.operation = &operation;
        route.pathValues = std::move(values);
        break;
    }
    return route;
}

const Operation& amongAlternatives(const Operation& found, const XmlElement& document)
{
    const Operation* candidate = &found;
    while (candidate->isMeant && !candidate->isMeant(document))
        ++candidate;
    return *candidate;
}

std::vector<Operation> allOperations()
{
    return {std::begin(operations), std::end(operations)};
}

} // namespace KelEmulator
