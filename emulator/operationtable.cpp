// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/operation.h"
#include "emulator/operations/operations.h"
#include "emulator/percentencoding.h"
#include "emulator/service/layouts.h"

#include <iterator>

namespace KelEmulator {

namespace {

constexpr std::string_view servicePath = "/rest/1.0/";

const Operation operations[] = {
    {3, "GET", "availability/{name}", false, nullptr, userNameAvailability},
    {4, "POST", "captchas", false, &Layouts::captchaCreation, captchaCreation},
    {6, "GET", "securityquestions", false, nullptr, securityQuestions},
    {7, "POST", "autodetection", false, &Layouts::autoDetection, autoDetection},
    {8, "GET", "services/{service}", false, nullptr, serviceQuery},
    {10, "POST", "simplifiedpasswordrecovery/{user}/send", false, &Layouts::recoveryMessage,
     recoveryMessage},
    {11, "POST", "emailavailability/", false, &Layouts::emailAvailability, emailAvailability},
    {12, "POST", "consentqueryvariant", false, &Layouts::consentVariant, consentVariant},
    {13, "PUT", "simplifiedpasswordrecovery/{user}/change", false, &Layouts::passwordReset,
     passwordReset},
    {14, "GET", "simplifiedpasswordrecovery/{user}/question", false, nullptr, userSecurityQuestion},
};

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
    return std::vector<Operation>(std::begin(operations), std::end(operations));
}

} // namespace KelEmulator
