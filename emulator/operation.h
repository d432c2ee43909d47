// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/reply.h"
#include "emulator/wirerequest.h"

#include <string>
#include <string_view>
#include <vector>

namespace KelEmulator {

class Accounts;

/// A request whose form and signature are good, as an operation sees it.
struct Call
{
    std::vector<std::string> pathValues; ///< what the path has in place of each {…}, decoded
    NamedValues query;
    std::string document; ///< XML document of the body, empty when there is none
    std::string token;    ///< access token, empty when there is none
    Accounts& accounts;
};

/// An operation of the service: one row of the table in operationtable.cpp and one function.
struct Operation
{
    const char* verb; ///< as the "rest-verb" header has it
    const char* path; ///< after "/rest/1.0/"; {…} stands for one piece between slashes
    Reply (*answer)(const Call& call);
};

/// What the table says about a verb and a path.
struct Route
{
    enum class Result { Found, UnknownPath, WrongVerb };
    Result result = Result::UnknownPath;
    const Operation* operation = nullptr;
    std::vector<std::string> pathValues;
};

/// Looks a request up. `rawPath` is percent-encoded and begins with "/rest/1.0/".
Route findOperation(std::string_view verb, std::string_view rawPath);

} // namespace KelEmulator
