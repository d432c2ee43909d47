// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "emulator/common/wirerequest.h"
#include "emulator/oauth/authorization.h"

#include <string>
#include <string_view>

namespace KelEmulator {

/// What a signature covers.
struct SignedRequest
{
    const WireRequest& wire;
    const Authorization& authorization;
    std::string_view document; ///< the XML document itself, empty when there is none
};

/// How a base string and a key are made. As constructed it is the way the service wants; each
/// member is one thing that a client may do differently, so that a mismatch can be explained.
struct Recipe
{
    enum class Verb { Post, RestVerb, LowerCase };
    enum class Address { Decoded, AsOnTheWire, WithPort, WithQuery, PlainHttp, NotEncoded };
    enum class Document { Twice, Once, NotEncoded, Missing, PlusForBlank };
    enum class Order { DocumentThenNames, AllByName, AsInHeader, DocumentLast };
    enum class Key { SecretAndAmpersand, NoAmpersand, SecretNotEncoded, WithToken };

    Verb verb = Verb::Post;
    Address address = Address::Decoded;
    Document document = Document::Twice;
    Order order = Order::DocumentThenNames;
    Key key = Key::SecretAndAmpersand;
    bool withQuery = true;
    bool queryDecoded = true;
    bool parametersEncodedAsWhole = true;
    bool upperCaseDigits = true;
    std::string omitted;                         ///< name of a parameter left out
    std::pair<std::string, std::string> extra{}; ///< one put in; none when the name is empty
};

/// The signature base string. With `hideValues` the document and the token are replaced by their
/// lengths: that is the form for a log.
std::string baseString(const SignedRequest& request, const Recipe& recipe, bool hideValues = false);

std::string hmacKey(const SignedRequest& request, const Recipe& recipe,
                    const std::string& consumerSecret);

/// Base64 of HMAC-SHA1.
std::string hmacSha1(std::string_view message, std::string_view key);

/// The signature that the service expects.
std::string expectedSignature(const SignedRequest& request, const std::string& consumerSecret);

} // namespace KelEmulator
