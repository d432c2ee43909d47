// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/operation.h"
#include "emulator/operations/operations.h"
#include "emulator/percentencoding.h"

namespace KelEmulator {

namespace {

constexpr std::string_view servicePath = "/rest/1.0/";

constexpr Operation operations[] = {
    {"GET", "availability/{name}", userNameAvailability},
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

} // namespace KelEmulator
