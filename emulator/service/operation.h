// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/wirerequest.h"
#include "emulator/service/accounts.h"
#include "emulator/service/layout.h"
#include "emulator/service/reply.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KelEmulator {

struct Tables;

/// A request whose signature, token and document are good, as an operation sees it.
struct Call
{
    std::vector<std::string> pathValues; ///< what the path has in place of each {…}, decoded
    NamedValues query;
    XmlElement document;
    std::string language; ///< as "Accept-Language" has it
    std::int64_t now = 0; ///< by the service's clock, in seconds since 1970
    std::string token;    ///< access token, of an operation that needs one
    Account account;      ///< whose token it is
    Tables& tables;
};

/// An operation of the service: one row of operations/operationtable.cpp and one function.
struct Operation
{
    int number;
    bool needsToken;
    const char* verb;     ///< as the "rest-verb" header has it
    const char* path;     ///< after "/rest/1.0/"; {…} stands for one piece between slashes
    const Layout* layout; ///< of its document, null when it has none
    Reply (*answer)(const Call& call);
    /// Tells operations apart that share verb and path; they stand one after the other.
    bool (*isMeant)(const XmlElement& document) = nullptr;
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

/// The one that a document is meant for, of the operations with the found one's verb and path.
const Operation& amongAlternatives(const Operation& found, const XmlElement& document);

/// Every row of the table.
std::vector<Operation> allOperations();

} // namespace KelEmulator
