// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// What the service of the matrix says when nothing is wrong, and documents that are wrong.
namespace Matrix {

struct Request
{
    std::string verb;   ///< of "rest-verb"
    std::string target; ///< below "/rest/1.0/"
    std::string body;
};

/// The document of a success; empty where the operation has none.
std::string wellBody(const Request& request);

/// The whole reply.
std::string wellReply(const Request& request);

/// A whole reply by its name in the table of faults, made for the request.
std::string madeReply(const std::string& name, const Request& request);

} // namespace Matrix
