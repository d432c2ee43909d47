// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace KelEmulator {

using NamedValues = std::vector<std::pair<std::string, std::string>>;

/// A request as it came over the wire, reduced to what the service reads.
struct WireRequest
{
    std::string target; ///< path and query, percent-encoded as sent
    std::string host;   ///< "Host" header, with a port when one was sent
    std::string authorization;
    std::string restVerb;
    std::string contentType;
    std::string acceptLanguage;
    std::string body;

    std::string_view rawPath() const;
    std::string_view rawQuery() const;
};

/// Names and values of a query, percent-decoded, in the order sent.
NamedValues queryItems(std::string_view rawQuery);

/// The XML document of a form body. A request without a document has an empty body.
/// Returns false, and why in `problem`, when the body is not the form that the service takes.
bool readForm(const WireRequest& request, std::string& document, std::string& problem);

} // namespace KelEmulator
